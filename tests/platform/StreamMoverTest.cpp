// The system's own way and the plain one: both keep the same promises.
#include "platform/StreamMover.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

#include "fakes/FewDescriptors.h"
#include "platform/MovedStream.h"
#include "platform/posix/PlainStreamMover.h"

namespace quillbay {

namespace {

using Moved = StreamMover::Moved;
using test::hasTheEnd;
using test::pattern;
using test::Stream;
using test::takeAll;

class StreamMoverTest : public ::testing::TestWithParam<bool> {
 protected:
    StreamMover& mover() { return *mover_; }

    /// Moves until something has come, or the end.
    Moved moveSome(const Stream& source, const Stream& destination) {
        Moved moved;
        while (moved.receivedBytes == 0 && !moved.ended)
            moved = mover().move(source.out.get(), destination.in.get());
        return moved;
    }

    Stream from;
    Stream to;

 private:
    std::shared_ptr<StreamMover> mover_ = GetParam() ? std::make_shared<PlainStreamMover>() : streamMover();
};

TEST_P(StreamMoverTest, hands_on_a_long_stream_in_order_and_unchanged) {
    const std::string sent = pattern(12'000'000);
    std::string received;
    std::string held;
    for (std::size_t written = 0; received.size() < sent.size();) {
        written += from.write(sent.substr(written, 3'000'000));
        if (held.empty()) {
            const Moved moved = mover().move(from.out.get(), to.in.get());
            ASSERT_FALSE(moved.ended);
            held = takeAll(mover());
        }
        held.erase(0, to.write(held));
        received += to.read();
    }
    EXPECT_TRUE(received == sent);
}

TEST_P(StreamMoverTest, receives_no_more_at_once_than_it_says) {
    const Stream wide(4'000'000);
    const std::string sent = pattern(3'000'000);
    if (wide.write(sent) != sent.size()) GTEST_SKIP() << "the system gives no such large buffers";
    const Moved moved = moveSome(wide, to);
    EXPECT_GT(moved.receivedBytes, 0U);
    EXPECT_LE(moved.receivedBytes, 262'144U);
    EXPECT_LE(mover().leftBytes(), moved.receivedBytes);
}

TEST_P(StreamMoverTest, keeps_what_the_destination_does_not_take) {
    const Stream narrow(4096);
    const std::string sent = pattern(200'000);
    ASSERT_EQ(from.write(sent), sent.size());
    std::string received;
    std::size_t moves = 0;
    for (std::size_t taken = 0; taken < sent.size(); ++moves) {
        ASSERT_LT(moves, sent.size());
        const Moved moved = moveSome(from, narrow);
        taken += moved.receivedBytes;
        const std::string left = takeAll(mover());
        if (!left.empty()) {
            EXPECT_EQ(moved.sendError, EAGAIN);
        }
        // What the narrow one took, and what follows that.
        std::string passed = narrow.read();
        while (passed.size() + left.size() < moved.receivedBytes)
            passed += narrow.read();
        received += passed + left;
        EXPECT_EQ(mover().leftBytes(), 0U);
    }
    EXPECT_TRUE(received == sent);
}

TEST_P(StreamMoverTest, tells_of_the_end_after_the_last_byte) {
    ASSERT_EQ(from.write("the last words"), 14U);
    ::shutdown(from.in.get(), SHUT_WR);
    Moved moved = moveSome(from, to);
    EXPECT_EQ(moved.receivedBytes, 14U);
    while (!moved.ended)
        moved = mover().move(from.out.get(), to.in.get());
    EXPECT_EQ(moved.receivedBytes, 0U);
    EXPECT_EQ(to.read(), "the last words");
}

TEST_P(StreamMoverTest, a_source_that_was_reset_has_ended) {
    const linger atOnce{1, 0};
    ASSERT_EQ(::setsockopt(from.in.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce), 0);
    from.in.reset();
    EXPECT_TRUE(moveSome(from, to).ended);
}

TEST_P(StreamMoverTest, what_follows_an_urgent_byte_comes_before_the_end) {
    ASSERT_EQ(from.write("before"), 6U);
    ASSERT_EQ(::send(from.in.get(), "!", 1, MSG_OOB), 1);
    ASSERT_EQ(from.write("behind"), 6U);
    ::shutdown(from.in.get(), SHUT_WR);
    ASSERT_TRUE(hasTheEnd(from.out.get()));
    for (Moved moved; !moved.ended;) {
        moved = mover().move(from.out.get(), to.in.get());
        // As whoever uses it has to: only a plain receive gets past that byte.
        if (moved.receivedBytes == 0 && !moved.ended) {
            EXPECT_LE(to.write(from.read()), 6U);
        }
    }
    ::shutdown(to.in.get(), SHUT_WR);
    ASSERT_TRUE(hasTheEnd(to.out.get()));
    EXPECT_EQ(to.read(), "beforebehind");
}

TEST_P(StreamMoverTest, a_source_without_bytes_has_not_ended) {
    const Moved moved = mover().move(from.out.get(), to.in.get());
    EXPECT_EQ(moved.receivedBytes, 0U);
    EXPECT_FALSE(moved.ended);
    EXPECT_EQ(moved.sendError, 0);
}

TEST_P(StreamMoverTest, a_destination_that_is_gone_is_an_error_and_no_signal) {
    ::shutdown(to.in.get(), SHUT_WR);
    ASSERT_EQ(from.write(pattern(100'000)), 100'000U);
    EXPECT_EQ(moveSome(from, to).sendError, EPIPE);
}

TEST_P(StreamMoverTest, what_was_dropped_does_not_reach_the_next_stream) {
    ::shutdown(to.in.get(), SHUT_WR);
    ASSERT_EQ(from.write(pattern(100'000)), 100'000U);
    ASSERT_EQ(moveSome(from, to).sendError, EPIPE);
    EXPECT_GT(mover().leftBytes(), 0U);
    mover().dropLeft();
    EXPECT_EQ(mover().leftBytes(), 0U);
    const Stream source;
    const Stream destination;
    ASSERT_EQ(source.write("fresh"), 5U);
    EXPECT_EQ(moveSome(source, destination).receivedBytes, 5U);
    EXPECT_EQ(destination.read(), "fresh");
}

TEST(StreamMoverOfAThread, is_one_for_all_who_hold_it_and_gone_after_them) {
    const auto descriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/dev/fd"),
                             std::filesystem::directory_iterator());
    };
    const auto before = descriptors();
    std::shared_ptr<StreamMover> first = streamMover();
    std::shared_ptr<StreamMover> second = streamMover();
    EXPECT_EQ(first, second);
    const std::weak_ptr<StreamMover> both = first;
    first.reset();
    EXPECT_FALSE(both.expired());
    second.reset();
    EXPECT_TRUE(both.expired());
    EXPECT_EQ(descriptors(), before);
}

TEST(StreamMoverOfAThread, moves_without_a_descriptor_to_spare) {
    const Stream from;
    const Stream to;
    ASSERT_EQ(from.write("carried all the same"), 20U);
    std::size_t received = 0;
    const fakes::FewDescriptors none(0);
    // Another thread's, which has no pipe from before.
    std::thread([&] {
        while (received == 0)
            received = streamMover()->move(from.out.get(), to.in.get()).receivedBytes;
    }).join();
    EXPECT_EQ(received, 20U);
    EXPECT_EQ(to.read(), "carried all the same");
}

INSTANTIATE_TEST_SUITE_P(Both, StreamMoverTest, ::testing::Bool(),
                         [](const auto& way) { return way.param ? "plain" : "system"; });

}  // namespace

}  // namespace quillbay

#include "bridge/SendQueue.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <string>

#include "bridge/RelayTestTools.h"
#include "bridge/TCPDirection.h"

namespace quillbay {

namespace {

std::string contents(const SendQueue& queue) {
    std::array<iovec, 64> pieces;
    const std::size_t count = queue.front(pieces);
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all.append(static_cast<const char*>(pieces[i].iov_base), pieces[i].iov_len);
    }
    return all;
}

}  // namespace

TEST(SendQueue, gives_back_what_was_put_in_however_it_is_consumed) {
    const std::string bytes = test::pattern(500'000);
    SendQueue queue;
    queue.append(bytes);
    EXPECT_EQ(queue.size(), bytes.size());
    std::string taken;
    std::size_t step = 1;
    while (!queue.empty()) {
        const std::size_t count = std::min(step, queue.size());
        taken += contents(queue).substr(0, count);
        queue.consume(count);
        step = step * 3 + 1;
    }
    EXPECT_TRUE(taken == bytes);
}

TEST(SendQueue, prepared_room_that_nothing_came_into_leaves_nothing_behind) {
    SendQueue queue;
    EXPECT_EQ(queue.prepare(10).size(), 10U);
    queue.commit(0);
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(contents(queue), "");
    queue.append(std::string("abc"));
    EXPECT_EQ(contents(queue), "abc");
}

/// A direction between two socket pairs, with the far ends in the test's hands.
class TCPDirectionTest : public ::testing::Test {
 protected:
    void SetUp() override {
        int left[2];
        int right[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, left), 0);
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, right), 0);
        source.adopt(UniqueDescriptor(left[0]), SocketEvents::none);
        destination.adopt(UniqueDescriptor(right[0]), SocketEvents::none);
        sender.reset(left[1]);
        receiver.reset(right[1]);
    }

    /// Sends until neither the kernel nor the direction takes more.
    std::string fill() {
        std::string sent;
        for (int i = 0; i < 10'000; ++i) {
            const std::string block = test::pattern(10'000, static_cast<std::uint32_t>(i));
            const ssize_t count = ::send(sender.get(), block.data(), block.size(), MSG_NOSIGNAL);
            if (count < 0 && !direction.wantsToReceive()) return sent;
            if (count > 0) sent += block.substr(0, static_cast<std::size_t>(count));
            direction.receive();
            most = std::max(most, direction.heldBytes());
        }
        ADD_FAILURE() << "never full";
        return sent;
    }

    std::string drain() {
        std::string got;
        std::string buffer(100'000, '\0');
        for (;;) {
            const ssize_t count = ::recv(receiver.get(), buffer.data(), buffer.size(), 0);
            if (count <= 0 && !direction.flush() && !direction.wantsToReceive()) return got;
            if (count > 0) got.append(buffer, 0, static_cast<std::size_t>(count));
            if (count <= 0 && direction.heldBytes() == 0) {
                const std::size_t before = got.size();
                direction.receive();
                const ssize_t more = ::recv(receiver.get(), buffer.data(), buffer.size(), 0);
                if (more > 0) got.append(buffer, 0, static_cast<std::size_t>(more));
                if (got.size() == before) return got;
            }
        }
    }

    struct Nobody final : SocketUser {
        void readable(WatchedSocket& /*socket*/) override {}
    } nobody;
    EventLoop loop;
    WatchedSocket source{loop, nobody};
    WatchedSocket destination{loop, nobody};
    UniqueDescriptor sender;
    UniqueDescriptor receiver;
    TCPDirection direction{source, destination};
    std::size_t most = 0;
};

TEST_F(TCPDirectionTest, holds_exactly_one_mebibyte_for_a_receiver_that_takes_nothing) {
    direction.openDestination();
    const std::string sent = fill();
    EXPECT_EQ(most, 1'048'576U);
    EXPECT_FALSE(direction.wantsToReceive());
    EXPECT_TRUE(drain() == sent);
}

TEST_F(TCPDirectionTest, holds_exactly_one_mebibyte_before_the_destination_is_open) {
    const std::string sent = fill();
    EXPECT_EQ(most, 1'048'576U);
    EXPECT_FALSE(direction.wantsToSend());
    direction.openDestination();
    direction.flush();
    EXPECT_TRUE(drain() == sent);
}

TEST_F(TCPDirectionTest, receives_again_only_when_half_of_the_room_is_free) {
    fill();
    direction.openDestination();
    char buffer[4096];
    while (direction.heldBytes() > 524'288) {
        EXPECT_FALSE(direction.wantsToReceive());
        direction.flush();
        while (direction.heldBytes() > 524'288 && ::recv(receiver.get(), buffer, sizeof buffer, 0) > 0) {
        }
    }
    EXPECT_TRUE(direction.wantsToReceive());
}

TEST_F(TCPDirectionTest, an_empty_read_sends_nothing_and_receives_again) {
    char buffer[16];
    for (const bool open : {false, true}) {
        if (open) direction.openDestination();
        direction.receive();
        EXPECT_FALSE(direction.ended());
        EXPECT_FALSE(direction.broken());
        EXPECT_TRUE(direction.wantsToReceive());
        EXPECT_FALSE(direction.wantsToSend());
        EXPECT_EQ(direction.heldBytes(), 0U);
        EXPECT_EQ(::recv(receiver.get(), buffer, sizeof buffer, 0), -1);
        EXPECT_EQ(errno, EAGAIN);
    }
    ASSERT_EQ(::send(sender.get(), "bytes", 5, MSG_NOSIGNAL), 5);
    direction.receive();
    ASSERT_EQ(::recv(receiver.get(), buffer, sizeof buffer, 0), 5);
    EXPECT_EQ(std::string(buffer, 5), "bytes");
    EXPECT_FALSE(direction.ended());
}

TEST_F(TCPDirectionTest, is_delivered_only_when_the_last_held_byte_was_sent) {
    direction.openDestination();
    const std::string sent = fill();
    sender.reset();
    EXPECT_FALSE(direction.delivered());
    EXPECT_TRUE(drain() == sent);
    direction.receive();
    EXPECT_TRUE(direction.ended());
    EXPECT_TRUE(direction.delivered());
}

TEST_F(TCPDirectionTest, drops_what_is_held_when_the_destination_takes_no_more) {
    direction.openDestination();
    fill();
    receiver.reset();
    direction.flush();
    EXPECT_TRUE(direction.broken());
    EXPECT_EQ(direction.heldBytes(), 0U);
    EXPECT_FALSE(direction.wantsToReceive());
}

}  // namespace quillbay

// A pair on a loop that the test turns by hand, so that what happens first is the test's choice.
#include "bridge/TCPPair.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <thread>

#include "bridge/RelayTestTools.h"
#include "platform/Sockets.h"

namespace quillbay {

using namespace std::chrono_literals;
using test::pattern;
using test::Peer;
using test::PhoneService;

class TCPPairTest : public ::testing::Test, public TCPPairOwner {
 public:
    void pairEnded(TCPPair& /*pair*/) override { ++ended; }
    void pairClosed(TCPPair& /*pair*/) override { ++closed; }

 protected:
    static constexpr int littleBytes = 4096;
    // More than the kernel takes on its way to a phone that reads nothing, less than the pair holds.
    static constexpr std::size_t sentBytes = 600'000;

    void connect(TCPPairLimits limits) {
        const PhoneService front;
        client = Peer::tcpTo(front.port());
        UniqueDescriptor accepted(::dup(front.accept().fd()));
        ASSERT_EQ(::fcntl(accepted.get(), F_SETFL, O_NONBLOCK), 0);
        UniqueDescriptor outbound = openSocket(AF_INET, SOCK_STREAM);
        ASSERT_EQ(::setsockopt(outbound.get(), SOL_SOCKET, SO_SNDBUF, &littleBytes, sizeof littleBytes), 0);
        pair = std::make_shared<TCPPair>(loop, std::shared_ptr<TCPPairOwner>(alive, this), limits);
        pair->adopt(std::move(accepted), std::move(outbound));
        const auto address = SocketAddress::numeric("127.0.0.1", phone.port());
        pair->start(&*address);
        server = phone.accept();
    }

    /// The client sends and is gone; the pair holds what the phone does not take.
    void clientSendsAndEnds() {
        const std::string sent = pattern(sentBytes);
        std::size_t done = 0;
        ASSERT_TRUE(turnUntil([&] {
            const ssize_t count = ::send(client.fd(), sent.data() + done, sent.size() - done, MSG_DONTWAIT);
            if (count > 0) done += static_cast<std::size_t>(count);
            return done == sent.size();
        }));
        ASSERT_TRUE(turnUntil([&] { return pair->heldBytes() > sentBytes - 100'000 && unsent() == 0; }));
        ends = std::chrono::steady_clock::now();
        client.endSending();
        turn();
    }

    [[nodiscard]] int unsent() const {
        int bytes = 0;
        EXPECT_EQ(::ioctl(client.fd(), TIOCOUTQ, &bytes), 0);
        return bytes;
    }

    void turn() { loop.turn(); }

    /// What has come, without a turn.
    std::string available() {
        std::string all;
        std::string buffer(100'000, '\0');
        for (;;) {
            const ssize_t count = ::recv(server.fd(), buffer.data(), buffer.size(), MSG_DONTWAIT);
            if (count == 0 || (count < 0 && errno != EAGAIN)) over = true;
            if (count <= 0) return all;
            all.append(buffer, 0, static_cast<std::size_t>(count));
        }
    }

    bool turnUntil(const std::function<bool()>& condition) {
        return test::eventually([&] {
            turn();
            return condition();
        });
    }

    /// All that comes until the end.
    std::string everything() {
        std::string all;
        turnUntil([&] {
            all += available();
            return over;
        });
        return all;
    }

    EventLoop loop;
    std::shared_ptr<int> alive = std::make_shared<int>();
    const PhoneService phone{16, littleBytes};
    Peer client;
    Peer server;
    std::shared_ptr<TCPPair> pair;
    std::chrono::steady_clock::time_point ends;
    bool over = false;
    int ended = 0;
    int closed = 0;
};

TEST_F(TCPPairTest, gives_up_on_a_receiver_that_takes_nothing_of_what_its_gone_sender_left) {
    const std::size_t before = test::openDescriptors();
    connect({.stalled = 200ms, .drain = 100ms});
    clientSendsAndEnds();
    EXPECT_EQ(ended, 0);
    EXPECT_TRUE(turnUntil([&] { return ended == 1; }));
    EXPECT_GE(std::chrono::steady_clock::now() - ends, 200ms);
    EXPECT_TRUE(turnUntil([&] { return closed == 1; }));
    const std::string received = everything();
    EXPECT_LT(received.size(), sentBytes);
    EXPECT_TRUE(received == pattern(sentBytes).substr(0, received.size()));
    pair.reset();
    client.close();
    server.close();
    EXPECT_EQ(test::openDescriptors(), before);
}

TEST_F(TCPPairTest, has_thirty_seconds_of_patience_unless_told_otherwise) {
    const TCPPairLimits usual;
    EXPECT_EQ(usual.stalled, 30s);
    EXPECT_EQ(usual.drain, 1500ms);
    EXPECT_EQ(usual.drainBytes, 4'194'304U);
}

TEST_F(TCPPairTest, progress_in_the_moment_in_which_its_time_is_up_gives_the_receiver_more_time) {
    connect({.stalled = 200ms});
    clientSendsAndEnds();
    // Both are due when the loop is turned next, and it takes sockets before timers.
    const std::size_t held = pair->heldBytes();
    std::string received = available();
    std::this_thread::sleep_until(std::chrono::steady_clock::now() + 250ms);
    turn();
    EXPECT_LT(pair->heldBytes(), held) << "no progress";
    EXPECT_EQ(ended, 0) << "closed with " << pair->heldBytes() << " bytes held";
    received += everything();
    EXPECT_TRUE(received == pattern(sentBytes));
    EXPECT_EQ(ended, 1);
}

}  // namespace quillbay

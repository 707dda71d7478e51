#include "bridge/UDPFlow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "platform/Sockets.h"

namespace quillbay {
namespace {

/// As systems do that hand out what waits before they tell of an error, and tell of it once.
DatagramCount oneDatagramAndAnError(int /*socket*/, Directed /*directed*/, std::span<Datagram> places) {
    constexpr std::string_view text = "the last reply";
    std::copy(text.begin(), text.end(), places.front().bytes);
    places.front().size = text.size();
    return {1, ECONNREFUSED};
}

struct Nobody final : SocketUser {
    void readable(WatchedSocket& /*socket*/) override {}
};

TEST(UDPFlow, an_error_behind_a_reply_ends_the_flow_and_the_reply_goes_to_the_client) {
    EventLoop loop;
    Nobody user;
    const sockaddr_in client = ipv4Endpoint("192.0.2.7", 4321);
    UDPFlow flow(client, openSocket(AF_INET, SOCK_DGRAM), *SocketAddress::numeric("127.0.0.1", 49'152), loop,
                 user);
    DatagramBatch batch(oneDatagramAndAnError);
    EXPECT_FALSE(flow.receive(batch));
    ASSERT_THAT(batch.datagrams(), testing::SizeIs(1));
    EXPECT_EQ(std::string_view(batch.datagrams()[0].bytes, batch.datagrams()[0].size), "the last reply");
    EXPECT_EQ(batch.datagrams()[0].peer.sin_addr.s_addr, client.sin_addr.s_addr);
    EXPECT_EQ(batch.datagrams()[0].peer.sin_port, client.sin_port);
}

}  // namespace
}  // namespace quillbay

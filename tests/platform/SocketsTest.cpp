#include "platform/Sockets.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <cerrno>
#include <functional>
#include <set>
#include <vector>

#include "platform/ForkedChild.h"
#include "platform/PrintedError.h"
#include "platform/SystemCallTrace.h"

namespace quillbay {
namespace {

using testing::ElementsAre;

constexpr const char* here = "127.0.0.1";

int errorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::system_error& error) {
        return error.code().value();
    }
    return 0;
}

std::string printedErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::exception& error) {
        return printedError(error);
    }
    return "no error";
}

void expectPrepared(const UniqueDescriptor& socket) {
    ASSERT_TRUE(socket.valid());
    EXPECT_NE(::fcntl(socket.get(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_NE(::fcntl(socket.get(), F_GETFL) & O_NONBLOCK, 0);
}

bool becomesReadable(const UniqueDescriptor& socket) {
    pollfd entry{socket.get(), POLLIN, 0};
    return ::poll(&entry, 1, 10'000) == 1;
}

UniqueDescriptor connectTo(std::uint16_t port) {
    UniqueDescriptor client = openSocket(AF_INET, SOCK_STREAM);
    const sockaddr_in endpoint = ipv4Endpoint(here, port);
    if (::connect(client.get(), reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint) != 0) {
        EXPECT_EQ(errno, EINPROGRESS);
    }
    return client;
}

struct Pair {
    UniqueDescriptor listener = listenTCP(here, 0);
    UniqueDescriptor client = connectTo(boundPort(listener.get()));
    UniqueDescriptor server;
    Pair() {
        int error = 0;
        EXPECT_TRUE(becomesReadable(listener));
        server = acceptConnection(listener.get(), error);
        EXPECT_EQ(error, 0);
    }
};

TEST(Sockets, reads_dotted_decimals_and_nothing_else) {
    const sockaddr_in endpoint = ipv4Endpoint("192.168.77.1", 49152);
    EXPECT_EQ(endpoint.sin_family, AF_INET);
    EXPECT_EQ(endpoint.sin_port, htons(49152));
    EXPECT_EQ(endpoint.sin_addr.s_addr, htonl(0xC0A84D01));
    for (const char* text : {"", "localhost", "256.1.1.1", "1.2.3", "::1", "1.2.3.4 ", "1.2.3.4:5"})
        EXPECT_EQ(errorOf([text] { ipv4Endpoint(text, 1); }), EINVAL) << text;
}

TEST(Sockets, a_taken_TCP_port_is_an_error_in_the_systems_words) {
    const UniqueDescriptor first = listenTCP(here, 0);
    const std::uint16_t port = boundPort(first.get());
    ASSERT_NE(port, 0);
    EXPECT_EQ(errorOf([port] { listenTCP(here, port); }), 98);
    EXPECT_EQ(printedErrorOf([port] { listenTCP(here, port); }),
              "POSIXErrorCode(rawValue: 98): Address already in use");
}

TEST(Sockets, a_taken_UDP_port_is_an_error_in_the_systems_words) {
    const UniqueDescriptor first = bindUDP(here, 0);
    const std::uint16_t port = boundPort(first.get());
    ASSERT_NE(port, 0);
    EXPECT_EQ(errorOf([port] { bindUDP(here, port); }), 98);
    EXPECT_EQ(printedErrorOf([port] { bindUDP(here, port); }),
              "POSIXErrorCode(rawValue: 98): Address already in use");
}

TEST(Sockets, UDP_shares_its_port_with_nobody_in_either_order) {
    const auto bindShared = [](std::uint16_t port) {
        UniqueDescriptor socket = openSocket(AF_INET, SOCK_DGRAM);
        const int on = 1;
        EXPECT_EQ(::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on), 0);
        const sockaddr_in endpoint = ipv4Endpoint(here, port);
        if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint) != 0) {
            socket.reset();
        }
        return socket;
    };
    const UniqueDescriptor ours = bindUDP(here, 0);
    EXPECT_FALSE(bindShared(boundPort(ours.get())).valid());
    const UniqueDescriptor theirs = bindShared(0);
    ASSERT_TRUE(theirs.valid());
    EXPECT_EQ(errorOf([&theirs] { bindUDP(here, boundPort(theirs.get())); }), 98);
}

TEST(Sockets, TCP_and_UDP_can_have_the_same_port_and_other_addresses_too) {
    const UniqueDescriptor tcp = listenTCP(here, 0);
    const std::uint16_t port = boundPort(tcp.get());
    const UniqueDescriptor udp = bindUDP(here, port);
    const UniqueDescriptor other = listenTCP("127.0.0.2", port);
    EXPECT_EQ(boundPort(udp.get()), port);
    EXPECT_EQ(boundPort(other.get()), port);
}

TEST(Sockets, a_foreign_address_is_refused) {
    EXPECT_EQ(printedErrorOf([] { listenTCP("192.0.2.1", 0); }),
              "POSIXErrorCode(rawValue: 99): Cannot assign requested address");
    EXPECT_EQ(printedErrorOf([] { bindUDP("192.0.2.1", 0); }),
              "POSIXErrorCode(rawValue: 99): Cannot assign requested address");
}

TEST(Sockets, a_TCP_port_can_be_had_again_while_old_connections_linger) {
    std::uint16_t port = 0;
    {
        Pair pair;
        port = boundPort(pair.listener.get());
        // The side that closes first is the one whose end of the connection lingers.
        pair.server.reset();
        EXPECT_TRUE(becomesReadable(pair.client));
    }
    EXPECT_EQ(errorOf([port] { listenTCP(here, port); }), 0);
}

TEST(Sockets, a_UDP_port_can_be_had_again_at_once) {
    UniqueDescriptor socket = bindUDP(here, 0);
    const std::uint16_t port = boundPort(socket.get());
    socket.reset();
    EXPECT_EQ(errorOf([port] { bindUDP(here, port); }), 0);
}

TEST(Sockets, every_socket_is_non_blocking_and_stays_with_this_program) {
    const Pair pair;
    expectPrepared(pair.listener);
    expectPrepared(pair.client);
    expectPrepared(pair.server);
    expectPrepared(bindUDP(here, 0));
}

TEST(Sockets, accepting_tells_when_nothing_waits) {
    const UniqueDescriptor listener = listenTCP(here, 0);
    int error = 0;
    EXPECT_FALSE(acceptConnection(listener.get(), error).valid());
    EXPECT_EQ(error, EAGAIN);
    EXPECT_FALSE(acceptConnection(-1, error).valid());
    EXPECT_EQ(error, EBADF);
}

TEST(Sockets, a_connection_waits_until_there_are_descriptors_again) {
    inChild([] {
        const UniqueDescriptor listener = listenTCP(here, 0);
        const UniqueDescriptor client = connectTo(boundPort(listener.get()));
        ASSERT_TRUE(becomesReadable(listener));
        rlimit old{};
        ::getrlimit(RLIMIT_NOFILE, &old);
        const rlimit none{0, old.rlim_max};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
        int error = 0;
        EXPECT_FALSE(acceptConnection(listener.get(), error).valid());
        EXPECT_EQ(error, EMFILE);
        EXPECT_EQ(errorOf([] { listenTCP(here, 0); }), EMFILE);
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &old), 0);
        EXPECT_TRUE(acceptConnection(listener.get(), error).valid());
        EXPECT_EQ(error, 0);
    });
}

TEST(Sockets, sending_to_a_closed_connection_is_an_error_and_no_signal) {
    inChild([] {
        Pair pair;
        ASSERT_EQ(::shutdown(pair.client.get(), SHUT_WR), 0);
        EXPECT_EQ(::send(pair.client.get(), "x", 1, noSignalFlag()), -1);
        EXPECT_EQ(errno, EPIPE);
    });
}

std::vector<long> callsOf(const std::function<void()>& body) {
    // A sanitizer's own memory is not what is counted here.
    const std::set<long> forMemory{SYS_mmap, SYS_munmap, SYS_madvise, SYS_brk};
    std::vector<long> numbers;
    for (const SystemCall& call : systemCallsOf(body)) {
        if (!forMemory.contains(call.number)) numbers.push_back(call.number);
    }
    return numbers;
}

TEST(Sockets, opening_thousands_costs_no_call_more_than_needed) {
    // Only the first asks for the limit of descriptors.
    static_cast<void>(listenTCP(here, 0));
    EXPECT_THAT(callsOf([] { static_cast<void>(listenTCP(here, 0).release()); }),
                ElementsAre(SYS_socket, SYS_setsockopt, SYS_bind, SYS_listen));
    EXPECT_THAT(callsOf([] { static_cast<void>(bindUDP(here, 0).release()); }),
                ElementsAre(SYS_socket, SYS_bind));
}

TEST(Sockets, failures_leave_no_descriptor_behind) {
    const UniqueDescriptor tcp = listenTCP(here, 0);
    const UniqueDescriptor udp = bindUDP(here, 0);
    const std::size_t before = openDescriptors();
    for (int round = 0; round < 50; ++round) {
        EXPECT_NE(errorOf([&tcp] { listenTCP(here, boundPort(tcp.get())); }), 0);
        EXPECT_NE(errorOf([&udp] { bindUDP(here, boundPort(udp.get())); }), 0);
        EXPECT_NE(errorOf([] { listenTCP("192.0.2.1", 0); }), 0);
        EXPECT_NE(errorOf([] { listenTCP("nonsense", 0); }), 0);
        EXPECT_NE(errorOf([] { openSocket(-1, SOCK_STREAM); }), 0);
        int error = 0;
        EXPECT_FALSE(acceptConnection(tcp.get(), error).valid());
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST(Sockets, the_port_of_what_is_no_socket_is_an_error) {
    EXPECT_EQ(errorOf([] { boundPort(-1); }), EBADF);
}

}  // namespace
}  // namespace quillbay

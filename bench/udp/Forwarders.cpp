#include "udp/Forwarders.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "platform/Sockets.h"
#include "suite/Nginx.h"
#include "suite/RunFolder.h"

namespace quillbay::bench {

namespace {

bool answers(const Forwarder& through) {
    const UniqueDescriptor client = openSocket(AF_INET, SOCK_DGRAM);
    const sockaddr_in to = ipv4Endpoint(through.address, through.port);
    if (::connect(client.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0) return false;
    std::array<char, 4> probe{"?"};
    if (::send(client.get(), probe.data(), probe.size(), 0) < 0) return false;
    pollfd asked{client.get(), POLLIN, 0};
    constexpr int patienceMilliseconds = 20;
    return ::poll(&asked, 1, patienceMilliseconds) == 1 &&
           ::recv(client.get(), probe.data(), probe.size(), 0) == static_cast<ssize_t>(probe.size());
}

/// One socket for each worker, without which it takes the datagrams of one client for those of several; the
/// same room for bursts as the relay asks for.
Forwarder nginx(std::uint16_t target, const RunFolder& folder) {
    const std::string address = "127.0.0.3";
    const std::uint16_t port = boundPort(bindUDP(address, 0).get());
    return {address, port,
            startNginx(folder, fmt::format("listen {}:{} udp reuseport rcvbuf=1m; proxy_pass 127.0.0.1:{}; "
                                           "proxy_timeout 1h;",
                                           address, port, target))};
}

}  // namespace

Forwarder datagramForwarder(const std::string& who, std::uint16_t target) {
    const RunFolder folder;
    Forwarder through = who == "relay"   ? relay(target, Listens::onTheFullRange)
                        : who == "nginx" ? nginx(target, folder)
                                         : direct(target);
    for (int tries = 0; !answers(through); ++tries) {
        constexpr int limit = 250;
        if (tries == limit) throw std::runtime_error(who + " does not answer");
        // Nobody there yet is an answer that comes at once.
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return through;
}

}  // namespace quillbay::bench

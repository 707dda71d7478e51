#include "relay/Peers.h"

#include <fmt/format.h>
#include <sys/socket.h>

#include <fstream>
#include <stdexcept>
#include <thread>

#include "platform/Sockets.h"
#include "relay/Wire.h"
#include "suite/Nginx.h"
#include "suite/RunFolder.h"

namespace quillbay::bench {

namespace {

/// Each peer has a loopback address of its own, so that no range meets another's.
Forwarder unstarted(const std::string& address, Listens listens) {
    const bool range = listens == Listens::onTheFullRange;
    return {address, range ? static_cast<std::uint16_t>(firstPort) : boundPort(listenTCP(address, 0).get()),
            nullptr};
}

std::string ports(const Forwarder& made, Listens listens) {
    return listens == Listens::onTheFullRange ? fmt::format("{}:{}-{}", made.address, firstPort, lastPort)
                                              : fmt::format("{}:{}", made.address, made.port);
}

Forwarder haproxy(std::uint16_t target, Listens listens, const RunFolder& folder) {
    Forwarder made = unstarted("127.0.0.2", listens);
    const std::string file = folder.path() + "/haproxy.cfg";
    std::ofstream(file) << fmt::format(
        "global\n  nbthread {}\n  maxconn 6000\ndefaults\n  mode tcp\n  option splice-auto\n  timeout "
        "connect 5s\n"
        "  timeout client 1h\n  timeout server 1h\nlisten relay\n  bind {}\n  server target 127.0.0.1:{}\n",
        threadsEach(), ports(made, listens), target);
    made.child = std::make_unique<Child>(std::vector<std::string>{"haproxy", "-db", "-q", "-f", file});
    return made;
}

/// Its buffers as large as one receive of the relays. No `reuseport`: the workers share one queue of clients
/// either way on one port, and three thousand ports for each worker only cost memory.
Forwarder nginx(std::uint16_t target, Listens listens, const RunFolder& folder) {
    Forwarder made = unstarted("127.0.0.3", listens);
    made.child = startNginx(folder, fmt::format("listen {}; proxy_pass 127.0.0.1:{}; proxy_buffer_size 64k; "
                                                "proxy_timeout 1h;",
                                                ports(made, listens), target));
    return made;
}

/// A process for each client.
Forwarder socat(std::uint16_t target, Listens listens) {
    if (listens == Listens::onTheFullRange) throw std::logic_error("socat listens on one port");
    Forwarder made = unstarted("127.0.0.4", listens);
    made.child = std::make_unique<Child>(std::vector<std::string>{
        "socat", "-b", "65536",
        fmt::format("TCP4-LISTEN:{},bind={},reuseaddr,fork,backlog=1024", made.port, made.address),
        fmt::format("TCP4:127.0.0.1:{}", target)});
    return made;
}

Forwarder ownProgram(std::vector<std::string> command) {
    command.insert(command.begin(), QUILLBAY_BENCH_RELAY);
    Forwarder made{"127.0.0.1", 0, std::make_unique<Child>(command)};
    const std::string line = made.child->line();
    if (!line.starts_with("port ")) throw std::runtime_error("the relay did not start");
    made.port = static_cast<std::uint16_t>(std::stoi(line.substr(5)));
    return made;
}

/// Waits until a connection comes out at the other end.
void untilItForwards(const Forwarder& through, const Target& target, const std::string& who) {
    constexpr int limit = 1000;
    for (int tries = 0; tries < limit; ++tries) {
        try {
            const UniqueDescriptor probe = connectTo(through);
            static_cast<void>(target.accept());
            return;
        } catch (const std::runtime_error&) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    throw std::runtime_error(who + " does not forward anything");
}

}  // namespace

std::vector<std::string> tcpPeers() {
    return {"haproxy", "nginx", "socat"};
}

Forwarder direct(std::uint16_t target) {
    return {"127.0.0.1", target, nullptr};
}

Forwarder relay(std::uint16_t target, Listens listens) {
    if (listens == Listens::onOnePort) return ownProgram({"serve", std::to_string(target)});
    return ownProgram({"range", std::to_string(target), std::to_string(firstPort), std::to_string(lastPort)});
}

Forwarder forwarder(const std::string& who, const Target& target, Listens listens) {
    if (who == "direct") return direct(target.port());
    const RunFolder folder;
    Forwarder made = who == "relay"     ? relay(target.port(), listens)
                     : who == "haproxy" ? haproxy(target.port(), listens, folder)
                     : who == "nginx"   ? nginx(target.port(), listens, folder)
                     : who == "bare"    ? ownProgram({"forward", std::to_string(target.port())})
                                        : socat(target.port(), listens);
    untilItForwards(made, target, who);
    return made;
}

}  // namespace quillbay::bench

#include <sys/socket.h>

#include <stdexcept>

#include "relay/RelayMeasurements.h"
#include "relay/Wire.h"

namespace quillbay::bench {

namespace {

constexpr int connectionCount = 5'000;

/// Both ways, so that everything that a connection needs has been made.
void exchangeOneByte(const Connection& connection) {
    for (const auto& [from, to] : {std::pair{connection.client.get(), connection.server.get()},
                                   std::pair{connection.server.get(), connection.client.get()}}) {
        char byte = 'x';
        if (::send(from, &byte, 1, MSG_NOSIGNAL) != 1 || ::recv(to, &byte, 1, 0) != 1 || byte != 'x')
            throw std::runtime_error("a byte did not arrive");
    }
}

std::vector<Row> idleConnections(int runs) {
    const Target target;
    Row memory{"memory of an idle connection",
               "bytes",
               {},
               Wanted{Wanted::Direction::atMost, 1, {"haproxy", "nginx"}}};
    memory.limit = "two sockets that are watched; their buffers in the kernel are not counted";
    for (int i = 0; i < runs; ++i) {
        for (const char* who : {"relay", "haproxy", "nginx"}) {
            const Forwarder through = forwarder(who, target, Listens::onOnePort);
            const double before = through.child->memoryKiB();
            std::vector<Connection> connections;
            for (int made = 0; made < connectionCount; ++made) {
                connections.push_back(connectThrough(through, target));
                exchangeOneByte(connections.back());
            }
            memory.values[who].push_back((through.child->memoryKiB() - before) * 1024 / connectionCount);
        }
    }
    return {memory};
}

}  // namespace

std::vector<Measurement> idleConnectionMeasurements() {
    return {{"idle-connections", idleConnections}};
}

}  // namespace quillbay::bench

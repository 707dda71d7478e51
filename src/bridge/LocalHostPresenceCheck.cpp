#include "bridge/LocalHostPresenceCheck.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <span>
#include <system_error>
#include <vector>

#include "bridge/MulticastQuery.h"
#include "bridge/StopPipe.h"
#include "platform/NetworkInterfaces.h"
#include "platform/Sockets.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

namespace {

/// A socket from which the query went out on the interface with this address; invalid when it could not.
UniqueDescriptor sendQuery(const in_addr& interfaceAddress, const std::vector<std::uint8_t>& query) {
    UniqueDescriptor socket;
    try {
        socket = openSocket(AF_INET, SOCK_DGRAM);
    } catch (const std::system_error&) {
        // This interface cannot be asked on; the others may.
        return {};
    }
    if (::setsockopt(socket.get(), IPPROTO_IP, IP_MULTICAST_IF, &interfaceAddress, sizeof interfaceAddress) !=
        0)
        return {};
    // A refusal does not matter: 1 is what the system begins with.
    const unsigned char timeToLive = 1;
    ::setsockopt(socket.get(), IPPROTO_IP, IP_MULTICAST_TTL, &timeToLive, sizeof timeToLive);

    const sockaddr_in group = ipv4Endpoint("224.0.0.251", 5353);
    const ssize_t sent = ::sendto(socket.get(), query.data(), query.size(), noSignalFlag(),
                                  reinterpret_cast<const sockaddr*>(&group), sizeof group);
    if (sent < 0 || static_cast<std::size_t>(sent) != query.size()) return {};
    return socket;
}

/// Takes one message from the socket; true when it answers the query.
bool receivesAnswer(int socket, std::uint16_t transactionID) {
    std::array<std::uint8_t, 1500> message{};
    const ssize_t count = ::recv(socket, message.data(), message.size(), 0);
    if (count < 0) return false;
    return isMulticastAnswer(std::span(message).first(static_cast<std::size_t>(count)), transactionID);
}

/// Blocks until an answer is there, `timeout` has passed or the stop pipe is readable.
bool awaitAnswer(const std::vector<UniqueDescriptor>& sockets, int stopPipe, std::uint16_t transactionID,
                 std::chrono::milliseconds timeout) {
    using std::chrono::steady_clock;
    const auto deadline = steady_clock::now() + timeout;
    std::vector<pollfd> entries{pollfd{stopPipe, POLLIN, 0}};
    for (const UniqueDescriptor& socket : sockets)
        entries.push_back(pollfd{socket.get(), POLLIN, 0});

    while (true) {
        const auto remaining =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - steady_clock::now());
        if (remaining.count() <= 0) return false;
        const int ready =
            ::poll(entries.data(), static_cast<nfds_t>(entries.size()), static_cast<int>(remaining.count()));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0 || entries.front().revents != 0) return false;
        for (const pollfd& entry : std::span(entries).subspan(1)) {
            // An error is taken off the socket by the same call; left there, it would wake the poll for ever.
            if (entry.revents != 0 && receivesAnswer(entry.fd, transactionID)) return true;
        }
    }
}

std::uint16_t newTransactionID(RandomSource& random) {
    return static_cast<std::uint16_t>(random.uniform(1, 65535));
}

/// Sends the query, when there is one, and waits for who answers.
PresenceAnswer ask(const std::optional<std::vector<std::uint8_t>>& query, std::uint16_t transactionID,
                   std::chrono::milliseconds timeout, const StopToken& token) {
    if (!query) return PresenceAnswer::couldNotAsk;
    std::optional<StopPipe> stopPipe;
    try {
        stopPipe.emplace(token);
    } catch (const std::system_error&) {
        // Out of descriptors: nobody can be asked.
        return PresenceAnswer::couldNotAsk;
    }
    std::vector<UniqueDescriptor> sockets;
    for (const in_addr& address : multicastIPv4Addresses()) {
        UniqueDescriptor socket = sendQuery(address, *query);
        if (socket.valid()) sockets.push_back(std::move(socket));
    }
    if (sockets.empty()) return PresenceAnswer::couldNotAsk;
    const bool answered = awaitAnswer(sockets, stopPipe->descriptor(), transactionID, timeout);
    return answered ? PresenceAnswer::answered : PresenceAnswer::silent;
}

}  // namespace

bool LocalHostPresenceCheck::isHostCurrentlyPresent(const std::string& host,
                                                    std::chrono::milliseconds timeout, RandomSource& random,
                                                    const StopToken& token) {
    const std::uint16_t transactionID = newTransactionID(random);
    const auto query = makeMulticastQuery(host, transactionID);
    return quillbay::ask(query, transactionID, timeout, token) != PresenceAnswer::silent;
}

PresenceAnswer LocalHostPresenceCheck::ask(const std::string& name, std::chrono::milliseconds timeout,
                                           RandomSource& random, const StopToken& token) {
    const std::uint16_t transactionID = newTransactionID(random);
    return quillbay::ask(makeMulticastQueryAsGiven(name, transactionID), transactionID, timeout, token);
}

}  // namespace quillbay

#include "bridge/UDPRelayCore.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>

#include "bridge/DatagramBatch.h"
#include "platform/DescriptorShares.h"
#include "platform/PrintedError.h"
#include "platform/Sockets.h"

namespace quillbay {

namespace {

constexpr int batchesPerTurn = 2;
constexpr int replyBatchesPerTurn = 8;

bool isFailureOfListener(int error) {
    return error == EBADF || error == EINVAL || error == ENOTSOCK || error == EFAULT || error == ENOTCONN;
}

std::uint64_t keyOf(const sockaddr_in& client) {
    return (static_cast<std::uint64_t>(client.sin_addr.s_addr) << 16U) | client.sin_port;
}

/// Sorts by client and leaves the order of each client's own as it is. Few datagrams, and often sorted
/// already: nothing is quicker than to insert them.
void bringTogether(std::span<Datagram> datagrams) {
    for (std::size_t i = 1; i < datagrams.size(); ++i) {
        for (std::size_t j = i; j > 0 && keyOf(datagrams[j].peer) < keyOf(datagrams[j - 1].peer); --j)
            std::swap(datagrams[j], datagrams[j - 1]);
    }
}

}  // namespace

UDPRelay::Core::Core(EventLoop& loop, std::string localIP, std::uint16_t localPort,
                     const std::string& remoteHost, std::uint16_t remotePort,
                     const RelayErrorCallback& onError, std::shared_ptr<RelayAccess> access)
    : RelayListener(loop, std::move(localIP), localPort, onError, std::move(access)),
      phone_(SocketAddress::numeric(remoteHost, remotePort)) {}

UniqueDescriptor UDPRelay::Core::open(const std::string& address, std::uint16_t port) {
    return bindUDP(address, port);
}

void UDPRelay::Core::receive() {
    DatagramBatch& batch = datagramBatch();
    bool any = false;
    bool last = false;
    for (int round = 0; round < batchesPerTurn && !last; ++round) {
        if (!socket().isOpen()) return;
        batch.clear();
        const auto received = batch.receive(socket().get(), Directed::no);
        passOn(received.datagrams);
        if (isFailureOfListener(received.error)) {
            return fail(std::make_exception_ptr(systemError(received.error)));
        }
        // Any other error is about one datagram.
        any = any || !received.datagrams.empty();
        last = received.last;
    }
    // A socket that was shut down is readable for ever and receives nothing, or the empty over and over.
    if (!any && receivingIsShutDown(socket().get()))
        return fail(std::make_exception_ptr(systemError(ESHUTDOWN)));
    listen();
}

void UDPRelay::Core::passOn(std::span<Datagram> received) {
    bringTogether(received);
    while (!received.empty()) {
        const auto others = std::find_if(received.begin(), received.end(), [&](const Datagram& each) {
            return keyOf(each.peer) != keyOf(received.front().peer);
        });
        const auto count = static_cast<std::size_t>(others - received.begin());
        passOnOneClients(received.first(count));
        received = received.subspan(count);
    }
}

void UDPRelay::Core::passOnOneClients(std::span<const Datagram> datagrams) {
    const sockaddr_in client = datagrams.front().peer;
    // A flow that died since its last datagram is noticed here at the latest; the datagram that it did not
    // take then opens the next one.
    bool triedBefore = false;
    while (!datagrams.empty()) {
        UDPFlow* const flow = flowOf(client);
        std::size_t done = flow != nullptr ? flow->send(datagrams) : 1;
        if (flow != nullptr && done < datagrams.size()) {
            forget(keyOf(client));
            if (done == 0 && triedBefore) done = 1;
            triedBefore = true;
        }
        datagrams = datagrams.subspan(done);
    }
}

UDPFlow* UDPRelay::Core::flowOf(const sockaddr_in& client) {
    const std::uint64_t key = keyOf(client);
    if (const auto known = flows_.find(key); known != flows_.end()) return &known->second;
    if (!phone_ || !admitsDatagram(client)) return nullptr;
    try {
        UniqueDescriptor opened = withinShare(openSocket(phone_->family(), SOCK_DGRAM), DescriptorUse::flow);
        // Not before: opening thousands of relays that nobody uses would cost as many calls more.
        if (!std::exchange(hasRoomForBursts_, true)) makeRoomForBursts(socket().get());
        const auto made = flows_.try_emplace(key, client, std::move(opened), *phone_, loop(),
                                             static_cast<SocketUser&>(*this));
        flowCount_ = flows_.size();
        return &made.first->second;
    } catch (const std::system_error&) {
        return nullptr;  // no descriptor or no route for the moment: the client's next datagram tries again
    }
}

void UDPRelay::Core::readable(WatchedSocket& socket) {
    if (&socket == &this->socket()) return RelayListener::readable(socket);
    replying_.push_back(keyOf(static_cast<UDPFlow&>(socket).client()));
    if (replying_.size() == 1) passBackSoon();
}

void UDPRelay::Core::passBackSoon() {
    loop().atEndOfTurn([weak = weak_from_this()] {
        if (const auto self = weak.lock()) static_cast<Core&>(*self).passBack();
    });
}

void UDPRelay::Core::passBack() {
    DatagramBatch& batch = datagramBatch();
    batch.clear();
    int batches = 0;
    auto next = replying_.begin();
    for (; next != replying_.end() && batches < replyBatchesPerTurn; ++next) {
        const auto flow = flows_.find(*next);
        if (flow == flows_.end()) continue;
        if (!flow->second.receive(batch)) forget(*next);
        if (!batch.isFull()) continue;
        reply(batch);
        ++batches;
    }
    reply(batch);
    replying_.erase(replying_.begin(), next);
    // The others go on, and the rest is first in the next turn.
    if (!replying_.empty()) passBackSoon();
}

void UDPRelay::Core::reply(DatagramBatch& batch) {
    std::span<const Datagram> datagrams = batch.datagrams();
    // Best effort: a datagram that the network does not take is lost, like on any other hop.
    while (socket().isOpen() && !datagrams.empty()) {
        const DatagramCount sent = sendDatagrams(socket().get(), Directed::no, datagrams);
        datagrams = datagrams.subspan(sent.count + (sent.error != 0 ? 1 : 0));
    }
    batch.clear();
}

void UDPRelay::Core::forget(std::uint64_t flow) {
    flows_.erase(flow);
    flowCount_ = flows_.size();
}

void UDPRelay::Core::cancelConnections() {
    flows_.clear();
    flowCount_ = 0;
}

void UDPRelay::Core::endRefusedConnections() {
    std::erase_if(flows_, [this](const auto& entry) { return !mayStay(entry.second.client()); });
    flowCount_ = flows_.size();
}

// A flow cannot outlive the socket through which it answers, and nothing would ever end it.
void UDPRelay::Core::forgetConnections() {
    cancelConnections();
}

}  // namespace quillbay

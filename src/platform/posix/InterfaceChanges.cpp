#include "platform/InterfaceChanges.h"

#include <sys/socket.h>

#include <array>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <cerrno>
#include <utility>

#include "platform/posix/InterfaceChangeSocket.h"

namespace quillbay {

namespace {

/// Reads away what has been reported. The messages themselves do not matter, and neither does an error:
/// "events were lost" (ENOBUFS) is a change like any other.
void drain(int channel) {
    // Bounded, so that a storm of changes cannot keep the queue for itself; what is left wakes it again.
    constexpr int mostMessages = 256;
    std::array<char, 64> cutOff{};  // a datagram's rest is dropped by the system
    for (int count = 0; count < mostMessages; ++count) {
        const ssize_t received = ::recv(channel, cutOff.data(), cutOff.size(), MSG_DONTWAIT);
        if (received < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
    }
}

}  // namespace

/// Handlers hold it weakly, so it lives as long as its owner, or a little longer while a handler runs.
struct InterfaceChanges::State : std::enable_shared_from_this<State> {
    State(const SerialQueue& queue, std::function<void()> prompt)
        : channel(queue.context()), onPrompt(std::move(prompt)) {
        UniqueDescriptor opened = openInterfaceChangeSocket();
        channel.assign(opened.get());
        static_cast<void>(opened.release());
    }

    /// Listens before it prompts, so that no change between the owner's look and the next wait is missed.
    void listenAndPrompt() {
        channel.async_wait(boost::asio::posix::descriptor_base::wait_read,
                           [weak = weak_from_this()](const boost::system::error_code& error) {
                               const auto self = weak.lock();
                               if (!self || error) return;
                               drain(self->channel.native_handle());
                               self->listenAndPrompt();
                           });
        onPrompt();
    }

    boost::asio::posix::stream_descriptor channel;
    std::function<void()> onPrompt;
};

InterfaceChanges::InterfaceChanges(const SerialQueue& queue, std::function<void()> onPrompt)
    : state_(std::make_shared<State>(queue, std::move(onPrompt))) {
    queue.post([weak = std::weak_ptr(state_)] {
        const auto self = weak.lock();
        if (self) self->listenAndPrompt();
    });
}

InterfaceChanges::~InterfaceChanges() = default;

}  // namespace quillbay

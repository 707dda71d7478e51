#pragma once

#include <boost/asio/io_context.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/SerialQueue.h"

namespace quillbay {

class EventLoop;
class EventLoopThread;

/// The threads on which all sockets live, one loop each: those of the relays on event loops, which are made
/// for many sockets under load, and everything else on Asio's.
///
/// A port always maps to the same loop of each kind. So everything about one port, over the lifetimes of the
/// relays that come and go on it, happens in the order in which it was asked for: a relay that is stopped has
/// closed its socket before the next one binds the same port.
class NetworkThreads {
 public:
    /// So many of each kind; `count` 0 means one per core. Throws std::system_error when the system has no
    /// descriptors or no threads for them.
    explicit NetworkThreads(unsigned count = 0);

    /// Ends the threads. Pending operations are dropped without their handlers being run.
    ~NetworkThreads();

    NetworkThreads(const NetworkThreads&) = delete;
    NetworkThreads& operator=(const NetworkThreads&) = delete;

    /// Ends the threads, so that nothing is posted to other queues any more, and keeps the loops, so that
    /// sockets can still be destroyed: for the time in which those other queues go. May be called more than
    /// once.
    void stop();

    [[nodiscard]] std::size_t count() const { return threads_.size(); }

    /// The loop of a port's relays.
    EventLoop& relayLoopFor(std::uint16_t port);

    /// Asio's loop of a port.
    boost::asio::io_context& contextFor(std::uint16_t port);

    /// A labelled queue on Asio's loop of a port.
    SerialQueue queueFor(std::uint16_t port, std::string label);

    /// Waits until everything that was posted to every loop before this call has run. For tests.
    void drain();

 private:
    std::vector<std::unique_ptr<WorkerThread>> threads_;
    std::vector<std::unique_ptr<EventLoopThread>> relayThreads_;
};

}  // namespace quillbay

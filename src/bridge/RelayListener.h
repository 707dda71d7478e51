#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <string>

#include "bridge/RelayAccess.h"
#include "bridge/RelayErrorCallback.h"
#include "bridge/WatchedSocket.h"
#include "platform/EventLoop.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// What both kinds of relay have in common: a socket on one local address and port, how it is opened, and how
/// it ends.
///
/// The socket and all that comes of it live on the loop of the local port. The members that may be called on
/// any thread only post to it, so a socket that is closed is closed before the next one on the same port is
/// opened.
class RelayListener : public std::enable_shared_from_this<RelayListener>, protected SocketUser {
 public:
    /// Without `access`, everybody may use it.
    RelayListener(EventLoop& loop, std::string localIP, std::uint16_t localPort,
                  const RelayErrorCallback& onError, std::shared_ptr<RelayAccess> access = nullptr);
    ~RelayListener() override = default;
    RelayListener(const RelayListener&) = delete;
    RelayListener& operator=(const RelayListener&) = delete;

    // Any thread:

    /// Opens the socket later; what goes wrong then is told to `onError`. Throws when it cannot be opened at
    /// all.
    void start();
    /// Opens the socket and waits for the result. Not to be called on the loop. Throws std::system_error
    /// (ECANCELED) at once when the listener was stopped.
    void startBlocking(std::chrono::milliseconds timeout);
    /// Closes the socket and cancels all connections. A start that has not happened yet does not happen.
    /// Waits for a call of `onError` that is under way on another thread: after this there is none.
    void stop();
    /// Closes the socket and forgets the connections, which end by themselves. No call of `onError` after
    /// this either.
    void abandon();
    /// Ends the connections of the clients that may not use the relay now.
    void endConnectionsOfOthers();

    [[nodiscard]] bool stopped() const { return stopped_; }
    [[nodiscard]] std::uint16_t port() const { return port_; }

 protected:
    // On the loop:

    virtual UniqueDescriptor open(const std::string& address, std::uint16_t port) = 0;
    void readable(WatchedSocket& socket) override;
    /// A client has come; `listen` has to follow, or nothing is told of the next one.
    virtual void serve() = 0;
    virtual void cancelConnections() = 0;
    virtual void forgetConnections() = 0;
    /// Ends the connections whose client may not stay.
    virtual void endRefusedConnections() = 0;

    /// Whether a client may use the relay; one that may not is counted, and is to be closed or dropped before
    /// the phone hears of it.
    bool admitsConnection(int client);
    bool admitsDatagram(const sockaddr_in& client);
    /// The same for one that is served already; nothing is counted.
    [[nodiscard]] bool mayStay(int client) const;
    [[nodiscard]] bool mayStay(const sockaddr_in& client) const;

    /// The listener has failed; it is closed. Connections stay.
    void fail(std::exception_ptr error);

    /// Waits for clients.
    void listen() { socket_.wait(SocketEvents::read); }

    EventLoop& loop() { return loop_; }
    WatchedSocket& socket() { return socket_; }

 private:
    class BlockingStart;
    /// Nothing, or why it did not come to listening.
    std::exception_ptr openAndListen();
    void adopt(UniqueDescriptor opened);
    void end();
    void silence();

    EventLoop& loop_;
    const std::string localIP_;
    const std::uint16_t localPort_;
    const RelayErrorCallback onError_;
    WatchedSocket socket_;
    const std::shared_ptr<RelayAccess> access_;
    in_addr address_{};
    std::atomic<std::uint16_t> port_ = 0;
    std::atomic<bool> stopped_ = false;
    // Held while `onError` is called, so that it never runs once the owner has stopped or gone. Recursive:
    // the owner may stop or drop the relay in there.
    std::recursive_mutex reporting_;
};

}  // namespace quillbay

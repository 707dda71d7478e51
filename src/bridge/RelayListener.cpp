#include "bridge/RelayListener.h"

#include <sys/socket.h>

#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include "bridge/RelayBindError.h"
#include "platform/PrintedError.h"
#include "platform/Sockets.h"

namespace quillbay {

/// The meeting point of a thread that waits for a listener and the loop that opens it. Whoever comes second
/// sees what the first one did: a listener that is ready too late is closed, and one that was stored was
/// waited for.
class RelayListener::BlockingStart {
 public:
    /// On the loop. Returns false when nobody waits any more.
    bool ready() {
        const std::lock_guard lock(mutex_);
        if (state_ == State::abandoned) return false;
        state_ = State::ready;
        changed_.notify_one();
        return true;
    }

    void failed(std::exception_ptr error) {
        const std::lock_guard lock(mutex_);
        error_ = std::move(error);
        changed_.notify_one();
    }

    void wait(std::chrono::milliseconds timeout) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, timeout, [this] { return error_ != nullptr || state_ == State::ready; });
        if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
        if (state_ == State::ready) return;
        state_ = State::abandoned;
        throw RelayBindError::timedOut();
    }

 private:
    enum class State { pending, ready, abandoned };
    std::mutex mutex_;
    std::condition_variable changed_;
    State state_ = State::pending;
    std::exception_ptr error_;
};

namespace {

/// The address at the other end of a connection; nothing when that has gone already.
std::optional<in_addr> sourceOf(int client) {
    sockaddr_in source{};
    socklen_t length = sizeof source;
    if (::getpeername(client, reinterpret_cast<sockaddr*>(&source), &length) != 0) return std::nullopt;
    return source.sin_addr;
}

}  // namespace

RelayListener::RelayListener(EventLoop& loop, std::string localIP, std::uint16_t localPort,
                             const RelayErrorCallback& onError, std::shared_ptr<RelayAccess> access)
    : loop_(loop),
      localIP_(std::move(localIP)),
      localPort_(localPort),
      onError_(onError),
      socket_(loop, *this),
      access_(std::move(access)) {}

void RelayListener::start() {
    static_cast<void>(ipv4Endpoint(localIP_, localPort_));  // throws for what can be no address of a listener
    loop_.post([self = shared_from_this()] {
        if (self->stopped_) return;
        if (auto error = self->openAndListen()) self->fail(std::move(error));
    });
}

std::exception_ptr RelayListener::openAndListen() {
    try {
        adopt(open(localIP_, localPort_));
        return nullptr;
    } catch (...) {
        end();
        return std::current_exception();
    }
}

void RelayListener::adopt(UniqueDescriptor opened) {
    const std::uint16_t port = localPort_ != 0 ? localPort_ : quillbay::boundPort(opened.get());
    socket_.adopt(std::move(opened), SocketEvents::read);
    address_ = ipv4Endpoint(localIP_, port).sin_addr;
    port_ = port;
}

void RelayListener::readable(WatchedSocket& /*socket*/) {
    const auto self = shared_from_this();  // who hears of a failure may let go of it
    serve();
}

void RelayListener::startBlocking(std::chrono::milliseconds timeout) {
    if (stopped_) throw systemError(ECANCELED);
    const auto meeting = std::make_shared<BlockingStart>();
    loop_.post([self = shared_from_this(), meeting] {
        if (self->stopped_) return meeting->failed(std::make_exception_ptr(systemError(ECANCELED)));
        if (auto error = self->openAndListen()) return meeting->failed(std::move(error));
        if (!meeting->ready()) self->end();
    });
    meeting->wait(timeout);
}

void RelayListener::stop() {
    silence();
    loop_.post([self = shared_from_this()] {
        self->end();
        self->cancelConnections();
    });
}

void RelayListener::abandon() {
    silence();
    loop_.post([self = shared_from_this()] {
        self->end();
        self->forgetConnections();
    });
}

void RelayListener::endConnectionsOfOthers() {
    loop_.post([self = shared_from_this()] { self->endRefusedConnections(); });
}

bool RelayListener::admitsConnection(int client) {
    if (!access_ || !access_->onlyThisComputer()) return true;
    const std::optional<in_addr> source = sourceOf(client);
    // Nobody knows where one came from that has gone again; it is closed, and not counted as another's.
    return source && access_->admits(RelayAccess::Kind::connection, *source, address_);
}

bool RelayListener::admitsDatagram(const sockaddr_in& client) {
    return !access_ || access_->admits(RelayAccess::Kind::datagram, client.sin_addr, address_);
}

bool RelayListener::mayStay(int client) const {
    if (!access_ || !access_->onlyThisComputer()) return true;
    const std::optional<in_addr> source = sourceOf(client);
    return source && access_->mayUse(*source, address_);
}

bool RelayListener::mayStay(const sockaddr_in& client) const {
    return !access_ || access_->mayUse(client.sin_addr, address_);
}

void RelayListener::end() {
    port_ = 0;
    socket_.close();
}

void RelayListener::silence() {
    const std::lock_guard lock(reporting_);
    stopped_ = true;
}

void RelayListener::fail(std::exception_ptr error) {
    end();
    const std::lock_guard lock(reporting_);
    if (!stopped_) onError_(std::move(error));
}

}  // namespace quillbay

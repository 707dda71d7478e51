#include "dns-sd/AvahiSession.h"

#include <avahi-common/error.h>
#include <avahi-common/timeval.h>

#include <cerrno>
#include <cstdio>
#include <new>
#include <system_error>
#include <utility>

namespace quillbay::dnssd {

namespace {

/// How long to wait before the bus is tried again. It comes back within a second or two when it is restarted.
constexpr int reconnectMilliseconds = 500;

bool meansLost(int code) {
    return code == AVAHI_ERR_DISCONNECTED || code == AVAHI_ERR_NO_DAEMON || code == AVAHI_ERR_TIMEOUT ||
           code == AVAHI_ERR_BAD_STATE;
}

}  // namespace

AvahiError::AvahiError(const std::string& what, int code)
    : std::runtime_error(what + ": " + avahi_strerror(code)) {}

struct AvahiSession::Watch {
    const AvahiPoll* poll;
    AvahiWatch* watch;
    std::function<void()> handler;
    ~Watch() {
        if (watch != nullptr) poll->watch_free(watch);
    }
};

AvahiSession::AvahiSession(Handlers handlers)
    : handlers_(std::move(handlers)), poll_(avahi_simple_poll_new()) {
    if (poll_ == nullptr) throw std::bad_alloc();
}

AvahiSession::~AvahiSession() {
    disconnect();
    clearTimer();
    watch_.reset();
    avahi_simple_poll_free(poll_);
}

void AvahiSession::watch(int descriptor, AvahiWatchEvent events, std::function<void()> handler) {
    const AvahiPoll* poll = avahi_simple_poll_get(poll_);
    watch_ = std::make_unique<Watch>(Watch{poll, nullptr, std::move(handler)});
    const auto callback = [](AvahiWatch*, int, AvahiWatchEvent, void* data) {
        static_cast<Watch*>(data)->handler();
    };
    watch_->watch = poll->watch_new(poll, descriptor, events, callback, watch_.get());
    if (watch_->watch == nullptr) throw std::bad_alloc();
}

int AvahiSession::run() {
    if (!connect()) throw std::move(*failure_);
    while (!status_) {
        const bool down = client_ == nullptr;
        const int result = avahi_simple_poll_iterate(poll_, down ? reconnectMilliseconds : -1);
        if (result < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "poll");
        if (failure_) throw std::move(*failure_);
        if (status_) break;
        // A client cannot be freed inside its own callback, so a lost one is replaced here.
        if (lost_ || down) reconnect();
        if (failure_) throw std::move(*failure_);
    }
    return *status_;
}

void AvahiSession::finish(int status) {
    if (!status_) status_ = status;
    avahi_simple_poll_wakeup(poll_);
}

void AvahiSession::fail(AvahiError error) {
    if (!failure_) failure_ = std::move(error);
    avahi_simple_poll_wakeup(poll_);
}

void AvahiSession::callLater(unsigned milliseconds, std::function<void()> task) {
    clearTimer();
    timerTask_ = std::move(task);
    timeval when{};
    avahi_elapse_time(&when, milliseconds, 0);
    const auto callback = [](AvahiTimeout*, void* data) {
        auto* const self = static_cast<AvahiSession*>(data);
        self->guarded([self] {
            const auto due = std::exchange(self->timerTask_, {});
            self->clearTimer();
            if (due) due();
        });
    };
    const AvahiPoll* poll = avahi_simple_poll_get(poll_);
    timer_ = poll->timeout_new(poll, &when, callback, this);
    if (timer_ == nullptr) throw std::bad_alloc();
}

void AvahiSession::clearTimer() {
    if (timer_ != nullptr) avahi_simple_poll_get(poll_)->timeout_free(timer_);
    timer_ = nullptr;
    timerTask_ = {};
}

bool AvahiSession::check(const std::string& call, int code) {
    if (code >= 0) return true;
    if (!meansLost(code)) throw AvahiError(call, code);
    lost_ = true;
    avahi_simple_poll_wakeup(poll_);
    return false;
}

void AvahiSession::clientCallback(AvahiClient* client, AvahiClientState state, void* self) {
    static_cast<AvahiSession*>(self)->handleState(client, state);
}

void AvahiSession::handleState(AvahiClient* client, AvahiClientState state) {
    client_ = client;
    switch (state) {
        case AVAHI_CLIENT_S_RUNNING:
            // Also seen after the daemon has changed its own host name, which no record of ours depends on.
            if (!std::exchange(up_, true)) guarded([&] { handlers_.onUp(client); });
            break;
        case AVAHI_CLIENT_FAILURE: {
            const int code = avahi_client_errno(client);
            if (meansLost(code)) {
                lost_ = true;
                avahi_simple_poll_wakeup(poll_);
            } else {
                fail(AvahiError("the mDNS daemon", code));
            }
            break;
        }
        case AVAHI_CLIENT_CONNECTING:
            std::fputs("waiting for the mDNS daemon\n", stderr);
            break;
        case AVAHI_CLIENT_S_REGISTERING:
        case AVAHI_CLIENT_S_COLLISION:
            break;
    }
}

bool AvahiSession::connect() {
    int code = 0;
    lost_ = false;
    up_ = false;
    const AvahiPoll* poll = avahi_simple_poll_get(poll_);
    client_ = avahi_client_new(poll, AVAHI_CLIENT_NO_FAIL, clientCallback, this, &code);
    if (client_ == nullptr && !failure_) failure_.emplace("the system bus", code);
    return client_ != nullptr;
}

void AvahiSession::disconnect() {
    if (client_ == nullptr) return;
    clearTimer();
    handlers_.onDown();
    avahi_client_free(client_);
    client_ = nullptr;
}

void AvahiSession::reconnect() {
    disconnect();
    // Once it has worked, a bus that is away is one that is being restarted.
    if (!connect()) failure_.reset();
}

void AvahiSession::guarded(const std::function<void()>& work) {
    try {
        work();
    } catch (const AvahiError& error) {
        fail(error);
    }
}

}  // namespace quillbay::dnssd

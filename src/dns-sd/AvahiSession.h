#pragma once

#include <avahi-client/client.h>
#include <avahi-common/simple-watch.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace quillbay::dnssd {

/// Something that the mDNS daemon or its bus refused for good.
class AvahiError : public std::runtime_error {
 public:
    AvahiError(const std::string& what, int code);
};

/// A connection to the mDNS daemon that outlives restarts of the daemon and of the bus, and the loop on which
/// all of its events are handled. One thread.
class AvahiSession {
 public:
    /// `onUp` is called whenever a running daemon has been reached; `onDown` before everything that was made
    /// with the last connection is freed together with it. A call in `onUp` that fails throws AvahiError
    /// through `check`.
    struct Handlers {
        std::function<void(AvahiClient*)> onUp;
        std::function<void()> onDown;
    };

    explicit AvahiSession(Handlers handlers);
    ~AvahiSession();
    AvahiSession(const AvahiSession&) = delete;
    AvahiSession& operator=(const AvahiSession&) = delete;

    /// Has `handler` called when `descriptor` shows one of `events`.
    void watch(int descriptor, AvahiWatchEvent events, std::function<void()> handler);

    /// Handles events until `finish`, and returns its status. Throws AvahiError when the bus cannot be
    /// reached at first or the daemon refuses to talk.
    int run();

    /// Makes `run` return. The first status stays.
    void finish(int status);

    /// Makes `run` throw: for callbacks of the library, which must not be left by an exception.
    void fail(AvahiError error);

    /// Has `task` called once on the loop after `milliseconds`, in place of an earlier one that has not been
    /// called.
    void callLater(unsigned milliseconds, std::function<void()> task);

    /// Throws AvahiError when `code`, the result of the library's `call`, is negative. A connection that was
    /// lost in the middle is no error here: it is made again, and `onUp` called again. Returns false then.
    bool check(const std::string& call, int code);

    [[nodiscard]] AvahiClient* client() const { return client_; }

 private:
    struct Watch;
    static void clientCallback(AvahiClient* client, AvahiClientState state, void* self);
    void handleState(AvahiClient* client, AvahiClientState state);
    bool connect();
    void disconnect();
    void reconnect();
    void clearTimer();
    /// Runs `work` and keeps what it throws for `run`.
    void guarded(const std::function<void()>& work);

    Handlers handlers_;
    AvahiSimplePoll* poll_;
    AvahiClient* client_ = nullptr;
    AvahiTimeout* timer_ = nullptr;
    std::function<void()> timerTask_;
    std::unique_ptr<Watch> watch_;
    bool up_ = false;
    bool lost_ = false;
    std::optional<int> status_;
    std::optional<AvahiError> failure_;
};

}  // namespace quillbay::dnssd

#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/StopToken.h"
#include "platform/UniqueDescriptor.h"

// The library's own declarations, which its header repeats.
struct sd_bus;
struct sd_bus_message;

namespace quillbay {

/// A call over D-Bus that failed.
class BusError : public std::runtime_error {
 public:
    BusError(std::string name, const std::string& message)
        : std::runtime_error(message), name_(std::move(name)) {}

    /// The error's D-Bus name, such as "org.freedesktop.DBus.Error.UnknownMethod".
    [[nodiscard]] const std::string& name() const { return name_; }

    /// True when nobody was there to say no: no such service, object, interface or method, or no answer.
    [[nodiscard]] bool nobodyAnswered() const;

 private:
    std::string name_;
};

struct BusMessageRelease {
    void operator()(sd_bus_message* message) const;
};
using BusMessage = std::unique_ptr<sd_bus_message, BusMessageRelease>;

/// Throws the library's negative result as a BusError.
int checkedBusResult(int result);

/// A connection of its own to the session bus (D-Bus 0.41) for a few calls that are waited for,
/// with limits and with a stop that ends every wait. Used on one thread.
class SessionBus {
 public:
    /// Connects to `address`, or to the bus of the user's session. Throws BusError when there is none.
    SessionBus(const std::optional<std::string>& address, const StopToken& token);
    ~SessionBus();
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    /// An empty call, to be filled with arguments. Throws BusError.
    BusMessage newCall(const char* destination, const char* path, const char* interface, const char* member);

    /// Sends the call and blocks until the answer. Throws BusError: the answer's own, or that none came
    /// within `limit`.
    BusMessage call(const BusMessage& message, std::chrono::milliseconds limit);

    /// This connection's own name. Only after a call.
    std::string uniqueName();

    /// Shows every message that comes from now on to `observer`, for as long as the connection lasts.
    void observe(std::function<void(sd_bus_message* message)> observer);

    /// Takes messages until `condition` holds. False when `limit` or the stop came first. Throws BusError
    /// when the connection is lost.
    bool processUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

 private:
    struct CloseBus {
        void operator()(sd_bus* bus) const;
    };
    void waitForEvent(std::chrono::steady_clock::time_point deadline) const;

    StopToken token_;
    std::unique_ptr<sd_bus, CloseBus> bus_;
    std::function<void(sd_bus_message*)> observer_;
    UniqueDescriptor wake_;
    /// Last, so that no callback can meet a closed descriptor.
    StopRegistration registration_;
};

}  // namespace quillbay

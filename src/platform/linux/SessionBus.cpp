#include "platform/linux/SessionBus.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <utility>

namespace quillbay {

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr const char* noReply = "org.freedesktop.DBus.Error.NoReply";

struct SlotRelease {
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using BusSlot = std::unique_ptr<sd_bus_slot, SlotRelease>;

int keepReply(sd_bus_message* reply, void* place, sd_bus_error* /*error*/) {
    static_cast<BusMessage*>(place)->reset(sd_bus_message_ref(reply));
    return 1;
}

void throwIfError(const BusMessage& reply) {
    if (sd_bus_message_is_method_error(reply.get(), nullptr) <= 0) return;
    const sd_bus_error* error = sd_bus_message_get_error(reply.get());
    const char* name = error != nullptr && error->name != nullptr ? error->name : noReply;
    throw BusError(name, error != nullptr && error->message != nullptr ? error->message : name);
}

}  // namespace

bool BusError::nobodyAnswered() const {
    constexpr std::string_view prefix = "org.freedesktop.DBus.Error.";
    constexpr std::array<std::string_view, 11> absent{
        "ServiceUnknown",  "NameHasNoOwner", "UnknownObject", "UnknownInterface", "UnknownMethod", "NoReply",
        "UnknownProperty", "Timeout",        "TimedOut",      "Disconnected",     "NoServer"};
    if (name_.starts_with("org.freedesktop.DBus.Error.Spawn.")) return true;
    if (!name_.starts_with(prefix)) return false;
    const std::string_view rest = std::string_view(name_).substr(prefix.size());
    return std::find(absent.begin(), absent.end(), rest) != absent.end();
}

int checkedBusResult(int result) {
    if (result >= 0) return result;
    // The library's own failures are those of the connection: whoever was asked did not hear of it.
    throw BusError("org.freedesktop.DBus.Error.Disconnected", std::generic_category().message(-result));
}

void BusMessageRelease::operator()(sd_bus_message* message) const {
    sd_bus_message_unref(message);
}

void SessionBus::CloseBus::operator()(sd_bus* bus) const {
    // Without a last flush, which could block: every call has been waited for.
    sd_bus_close_unref(bus);
}

SessionBus::SessionBus(const std::optional<std::string>& address, const StopToken& token)
    : token_(token), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wake_.valid()) checkedBusResult(-errno);
    registration_ = token.onStop([descriptor = wake_.get()] {
        // Fails only when it has been signalled before, which is as good.
        static_cast<void>(::eventfd_write(descriptor, 1));
    });
    sd_bus* bus = nullptr;
    if (!address) {
        checkedBusResult(sd_bus_open_user(&bus));
        bus_.reset(bus);
        return;
    }
    checkedBusResult(sd_bus_new(&bus));
    bus_.reset(bus);
    checkedBusResult(sd_bus_set_address(bus, address->c_str()));
    checkedBusResult(sd_bus_set_bus_client(bus, 1));
    checkedBusResult(sd_bus_start(bus));
}

SessionBus::~SessionBus() = default;

BusMessage SessionBus::newCall(const char* destination, const char* path, const char* interface,
                               const char* member) {
    sd_bus_message* message = nullptr;
    checkedBusResult(
        sd_bus_message_new_method_call(bus_.get(), &message, destination, path, interface, member));
    return BusMessage(message);
}

BusMessage SessionBus::call(const BusMessage& message, milliseconds limit) {
    BusMessage reply;
    sd_bus_slot* slot = nullptr;
    // The library's own time limit is off: the one here also ends with the stop.
    checkedBusResult(sd_bus_call_async(bus_.get(), &slot, message.get(), keepReply,
                                       static_cast<void*>(&reply), UINT64_MAX));
    const BusSlot pending(slot);
    if (!processUntil([&reply] { return reply != nullptr; }, limit))
        throw BusError(noReply, "no answer came in time");
    throwIfError(reply);
    return reply;
}

std::string SessionBus::uniqueName() {
    const char* name = nullptr;
    checkedBusResult(sd_bus_get_unique_name(bus_.get(), &name));
    return name;
}

void SessionBus::observe(std::function<void(sd_bus_message*)> observer) {
    observer_ = std::move(observer);
    const auto handler = [](sd_bus_message* message, void* self, sd_bus_error*) {
        static_cast<SessionBus*>(self)->observer_(message);
        return 0;
    };
    checkedBusResult(sd_bus_add_filter(bus_.get(), nullptr, handler, this));
}

bool SessionBus::processUntil(const std::function<bool()>& condition, milliseconds limit) {
    const auto deadline = steady_clock::now() + limit;
    while (!condition()) {
        if (token_.stopRequested() || steady_clock::now() >= deadline) return false;
        if (checkedBusResult(sd_bus_process(bus_.get(), nullptr)) == 0) waitForEvent(deadline);
    }
    return true;
}

void SessionBus::waitForEvent(steady_clock::time_point deadline) const {
    const int events = checkedBusResult(sd_bus_get_events(bus_.get()));
    std::uint64_t libraryDeadline = UINT64_MAX;  // microseconds of the same clock
    checkedBusResult(sd_bus_get_timeout(bus_.get(), &libraryDeadline));
    const auto now = steady_clock::now().time_since_epoch();
    auto left = std::chrono::ceil<milliseconds>(deadline.time_since_epoch() - now);
    if (libraryDeadline != UINT64_MAX) {
        const microseconds moment(static_cast<std::int64_t>(libraryDeadline));
        left = std::min(left, std::chrono::ceil<milliseconds>(moment - now));
    }
    std::array<pollfd, 2> waits{{{checkedBusResult(sd_bus_get_fd(bus_.get())), static_cast<short>(events), 0},
                                 {wake_.get(), POLLIN, 0}}};
    const auto timeout = static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 3'600'000));
    if (::poll(waits.data(), waits.size(), timeout) < 0 && errno != EINTR) checkedBusResult(-errno);
}

}  // namespace quillbay

// The functions that wait for something, and those that make what is waited for; and the time of day.

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/select.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <time.h>

#include "Faults.h"

using quillbay::faults::callOrFail;
using quillbay::faults::clockShift;

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

/// As the kernel tells it, by a system call that this library does not stand in front of.
std::int64_t shiftedNow() {
    timespec now{};
    ::timespec_get(&now, TIME_UTC);
    return now.tv_sec * nanosecondsPerSecond + now.tv_nsec + clockShift();
}

}  // namespace

extern "C" {

int epoll_create(int size) noexcept {
    return callOrFail<"epoll_create">(-1, size);
}

int epoll_create1(int flags) noexcept {
    return callOrFail<"epoll_create1">(-1, flags);
}

int epoll_ctl(int queue, int operation, int descriptor, epoll_event* event) noexcept {
    return callOrFail<"epoll_ctl">(-1, queue, operation, descriptor, event);
}

int epoll_wait(int queue, epoll_event* events, int most, int milliseconds) {
    return callOrFail<"epoll_wait">(-1, queue, events, most, milliseconds);
}

int poll(pollfd* descriptors, nfds_t count, int milliseconds) {
    return callOrFail<"poll">(-1, descriptors, count, milliseconds);
}

int __poll_chk(pollfd* descriptors, nfds_t count, int milliseconds, size_t) {
    return callOrFail<"poll">(-1, descriptors, count, milliseconds);
}

int select(int count, fd_set* reading, fd_set* writing, fd_set* exceptional, timeval* limit) {
    return callOrFail<"select">(-1, count, reading, writing, exceptional, limit);
}

int eventfd(unsigned value, int flags) noexcept {
    return callOrFail<"eventfd">(-1, value, flags);
}

int eventfd_write(int descriptor, eventfd_t value) {
    return callOrFail<"eventfd_write">(-1, descriptor, value);
}

int timerfd_create(clockid_t clock, int flags) noexcept {
    return callOrFail<"timerfd_create">(-1, clock, flags);
}

int timerfd_settime(int descriptor, int flags, const itimerspec* value, itimerspec* old) noexcept {
    return callOrFail<"timerfd_settime">(-1, descriptor, flags, value, old);
}

int nanosleep(const timespec* wanted, timespec* rest) {
    return callOrFail<"nanosleep">(-1, wanted, rest);
}

// The clocks that only go forward are never shifted: a day more of them would be a day that the program ran.

int clock_gettime(clockid_t clock, timespec* now) noexcept {
    using Function = int (*)(clockid_t, timespec*);
    static const auto real = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "clock_gettime"));
    const int result = real(clock, now);
    if (result != 0 || (clock != CLOCK_REALTIME && clock != CLOCK_REALTIME_COARSE)) return result;
    const std::int64_t shifted = now->tv_sec * nanosecondsPerSecond + now->tv_nsec + clockShift();
    *now = {shifted / nanosecondsPerSecond, shifted % nanosecondsPerSecond};
    return 0;
}

int gettimeofday(timeval* now, void* zone) noexcept {
    if (zone != nullptr) *static_cast<struct timezone*>(zone) = {};
    const std::int64_t shifted = shiftedNow();
    *now = {shifted / nanosecondsPerSecond, shifted % nanosecondsPerSecond / 1000};
    return 0;
}

time_t time(time_t* result) noexcept {
    const time_t now = shiftedNow() / nanosecondsPerSecond;
    if (result != nullptr) *result = now;
    return now;
}

}  // extern "C"

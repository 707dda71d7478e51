#include "dns-sd/EndingSignals.h"

#include <sys/eventfd.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>

namespace quillbay::dnssd {

namespace {

/// A daemon that answers does so within milliseconds, also on a busy computer.
constexpr timeval grace{0, 500'000};
constexpr std::array endings{SIGTERM, SIGINT};

std::atomic<int> wakeUp = -1;
static_assert(std::atomic<int>::is_always_lock_free);

// In the handlers only what may be called in one; setitimer(2) is a bare system call here.

void endSoon(int /*signal*/) {
    const int before = errno;
    const std::uint64_t once = 1;
    // A counter that is full is readable, too.
    static_cast<void>(!::write(wakeUp, &once, sizeof once));
    const itimerval timer{{}, grace};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
    errno = before;
}

void endNow(int /*signal*/) {
    ::_exit(0);
}

void handle(int signal, void (*handler)(int)) {
    struct sigaction action{};
    action.sa_handler = handler;
    // The library takes an interrupted call for a failed one.
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    if (::sigaction(signal, &action, nullptr) != 0)
        throw std::system_error(errno, std::generic_category(), "sigaction");
}

}  // namespace

EndingSignals::EndingSignals() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    wakeUp = descriptor_;
    handle(SIGALRM, endNow);
    for (const int signal : endings)
        handle(signal, endSoon);
}

EndingSignals::~EndingSignals() {
    for (const int signal : endings)
        std::signal(signal, SIG_IGN);
    ::close(descriptor_);
}

}  // namespace quillbay::dnssd

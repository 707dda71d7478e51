#include "ui/shell/EndingSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <tuple>
#include <utility>

#include "platform/PrintedError.h"

namespace quillbay {

namespace {

constexpr std::array endingSignals{SIGTERM, SIGINT, SIGHUP};

/// Where the handler writes. A handler may touch nothing that takes a lock.
std::atomic<int> wakeDescriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free);

void wake(int /*signal*/) {
    const int error = errno;
    const char byte = 0;
    static_cast<void>(::write(wakeDescriptor.load(), &byte, 1) == 1);
    errno = error;
}

std::pair<UniqueDescriptor, UniqueDescriptor> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) throw systemError(errno);
    for (const int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    return {UniqueDescriptor(ends[0]), UniqueDescriptor(ends[1])};
}

bool isIgnored(int signal) {
    struct sigaction action{};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void setHandler(int signal, void (*handler)(int)) {
    struct sigaction action{};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, nullptr);
}

}  // namespace

EndingSignals::EndingSignals(std::function<void()> onSignal) : notifier_(QSocketNotifier::Read) {
    std::tie(reading_, writing_) = makePipe();
    notifier_.setSocket(reading_.get());
    QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_,
                     [this, onSignal = std::move(onSignal)] {
                         // One signal is enough: the next one has nothing left to ask for.
                         notifier_.setEnabled(false);
                         onSignal();
                     });
    notifier_.setEnabled(true);
    wakeDescriptor = writing_.get();
    for (const int signal : endingSignals)
        if (!isIgnored(signal)) setHandler(signal, wake);
}

EndingSignals::~EndingSignals() {
    for (const int signal : endingSignals)
        if (!isIgnored(signal)) setHandler(signal, SIG_DFL);
    wakeDescriptor = -1;
}

}  // namespace quillbay

#include "dns-sd/EndingSignals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace quillbay::dnssd {

namespace {

sigset_t endingSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    return set;
}

}  // namespace

EndingSignals::EndingSignals() {
    const sigset_t set = endingSignals();
    descriptor_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "signalfd");
    sigprocmask(SIG_BLOCK, &set, nullptr);
}

EndingSignals::~EndingSignals() {
    close(descriptor_);
}

}  // namespace quillbay::dnssd

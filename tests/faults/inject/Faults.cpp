#include "Faults.h"

#include <sys/syscall.h>
#include <unistd.h>

#include "CallSites.h"
#include "ControlFile.h"

namespace quillbay::faults {

namespace {

ControlFile* controlFile = nullptr;
bool inForkedChild = false;
std::array<std::atomic<void*>, functionNames.size()> realFunctions{};

// Set while a call is being looked at: what that itself calls is none of the program's.
[[gnu::tls_model("initial-exec")]] thread_local bool looking = false;

/// Before the program's own initialisers, and after the C library's.
[[gnu::constructor(101)]] void begin() {
    for (std::size_t index = 0; index < functionNames.size(); ++index)
        realFunction(index, functionNames[index].data());
    controlFile = openControlFile();
}

bool concerns(const Fault& fault, const Site* site, std::size_t function) noexcept {
    if (fault.site != 0) return site != nullptr && site->id == fault.site;
    return fault.function == function;
}

int codeFor(const Site* site, std::size_t function) noexcept {
    Fault& fault = controlFile->fault;
    if (fault.armed == 0 || !concerns(fault, site, function)) return 0;
    const std::uint32_t number = fault.matched++;
    if (number < fault.first || number - fault.first >= fault.times) return 0;
    controlFile->firedIn = static_cast<std::uint64_t>(::syscall(SYS_gettid));
    ++fault.fired;
    return fault.code;
}

}  // namespace

void* realFunction(std::size_t function, const char* name) noexcept {
    void* address = realFunctions[function];
    if (address == nullptr) {
        address = ::dlsym(RTLD_NEXT, name);
        realFunctions[function] = address;
    }
    return address;
}

int faultOf(std::size_t function) noexcept {
    if (controlFile == nullptr || looking) return 0;
    const int before = errno;
    looking = true;
    Site* const site = currentSite(*controlFile, function, inForkedChild);
    ++controlFile->calls;
    if (site != nullptr) ++site->counts[controlFile->phase % phases];
    const int code = codeFor(site, function);
    looking = false;
    errno = before;
    return code;
}

std::int64_t clockShift() noexcept {
    return controlFile == nullptr ? 0 : controlFile->clockShift.load();
}

void nowInForkedChild() noexcept {
    inForkedChild = true;
}

}  // namespace quillbay::faults

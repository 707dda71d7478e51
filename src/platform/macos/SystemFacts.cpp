#include "platform/SystemFacts.h"

#include <sys/sysctl.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <string_view>

namespace quillbay {

namespace {

/// A text that the kernel keeps; empty when it has none of that name.
std::string kernelText(const char* name) {
    std::array<char, 256> text{};
    std::size_t size = text.size() - 1;
    if (::sysctlbyname(name, text.data(), &size, nullptr, 0) != 0) return {};
    return text.data();
}

}  // namespace

std::string operatingSystemVersion() {
    const std::string version = kernelText("kern.osproductversion");
    const std::string build = kernelText("kern.osversion");
    return "Version " + (version.empty() ? "unknown" : version) +
           (build.empty() ? std::string() : " (Build " + build + ")");
}

std::string computerName() {
    // The name in the system's settings is a framework's to tell; the host name is made from it.
    std::array<char, 256> name{};
    if (::gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') return "localhost";
    std::string host = name.data();
    constexpr std::string_view localDomain = ".local";
    if (host.size() > localDomain.size() && host.ends_with(localDomain))
        host.resize(host.size() - localDomain.size());
    return host;
}

}  // namespace quillbay

// A name server that hangs: in namespaces of the test's own, where it is the only one.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <thread>

#include "fakes/InPrivateMounts.h"
#include "fakes/TemporaryFolder.h"
#include "platform/PrintedError.h"
#include "platform/UniqueDescriptor.h"
#include "update/HTTPSFetch.h"

namespace quillbay {
namespace {

/// Puts a file of this content in the place of a system file; what went wrong, or the empty text.
std::string overlay(const std::filesystem::path& file, const std::string& content, const char* systemFile) {
    std::ofstream(file) << content;
    return ::mount(file.c_str(), systemFile, nullptr, MS_BIND, nullptr) == 0
               ? ""
               : std::string("no mount on ") + systemFile;
}

/// Listens where the name server would, and never answers.
UniqueDescriptor silentNameServer() {
    UniqueDescriptor server(::socket(AF_INET, SOCK_DGRAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(53);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(server.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw systemError(errno);
    return server;
}

/// Gives the calling process a network of its own in which there is nothing but loopback.
bool enterLoopbackNetwork() {
    if (::unshare(CLONE_NEWNET) != 0) return false;
    const UniqueDescriptor any(::socket(AF_INET, SOCK_DGRAM, 0));
    // Not with a tool: whoever is not root has the rights for it in this process alone.
    ifreq loopback{};
    std::strcpy(loopback.ifr_name, "lo");
    loopback.ifr_flags = IFF_UP;
    return ::ioctl(any.get(), SIOCSIFFLAGS, &loopback) == 0;
}

std::string stopWhileTheNameServerHangs(const std::filesystem::path& folder) {
    if (!enterLoopbackNetwork()) return "no network";
    std::string problem = overlay(folder / "resolv.conf", "nameserver 127.0.0.1\n", "/etc/resolv.conf");
    if (problem.empty()) problem = overlay(folder / "nsswitch.conf", "hosts: dns\n", "/etc/nsswitch.conf");
    if (!problem.empty()) return problem;

    const UniqueDescriptor server = silentNameServer();
    const StopSource source;
    bool asked = false;
    std::thread stopper([&] {
        pollfd question{server.get(), POLLIN, 0};
        asked = ::poll(&question, 1, 20'000) == 1;
        source.requestStop();
    });
    const auto begin = std::chrono::steady_clock::now();
    std::string ending = "it succeeded";
    try {
        fetchHTTPS("https://updates.test/api/latest", HTTPSOptions(), source.token());
    } catch (const FetchError& error) {
        ending = error.code() == FetchError::Code::cancelled ? "" : error.what();
    }
    const auto duration = std::chrono::steady_clock::now() - begin;
    stopper.join();
    if (!asked) return "the name server was not asked";
    // The system's resolver gives up after ten seconds at the earliest.
    if (duration > std::chrono::seconds(4)) return "the stop waited for the name server";
    return ending;
}

TEST(HTTPSResolver, a_name_server_that_hangs_does_not_hold_a_stop) {
    const fakes::TemporaryFolder folder;
    for (const char* name : {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
        ::unsetenv(name);
    EXPECT_EQ(fakes::inPrivateMounts([&] { return stopWhileTheNameServerHangs(folder.path()); }), "");
}

}  // namespace
}  // namespace quillbay

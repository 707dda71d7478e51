// The functions that ask about the computer, its network and its users.

#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "Faults.h"

using quillbay::faults::callOrFail;
using quillbay::faults::callOrReturnCode;

extern "C" {

int getifaddrs(ifaddrs** addresses) noexcept {
    return callOrFail<"getifaddrs">(-1, addresses);
}

unsigned if_nametoindex(const char* name) noexcept {
    return callOrFail<"if_nametoindex">(0U, name);
}

char* if_indextoname(unsigned index, char* name) noexcept {
    return callOrFail<"if_indextoname">(static_cast<char*>(nullptr), index, name);
}

int gethostname(char* name, size_t size) noexcept {
    return callOrFail<"gethostname">(-1, name, size);
}

int __gethostname_chk(char* name, size_t size, size_t) noexcept {
    return callOrFail<"gethostname">(-1, name, size);
}

int uname(utsname* name) noexcept {
    return callOrFail<"uname">(-1, name);
}

int getpwuid_r(uid_t user, passwd* entry, char* buffer, size_t size, passwd** result) {
    *result = nullptr;
    return callOrReturnCode<"getpwuid_r">(user, entry, buffer, size, result);
}

int getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result) {
    return callOrReturnCode<"getaddrinfo">(node, service, hints, result);
}

int getnameinfo(const sockaddr* address, socklen_t length, char* host, socklen_t hostSize, char* service,
                socklen_t serviceSize, int flags) {
    return callOrReturnCode<"getnameinfo">(address, length, host, hostSize, service, serviceSize, flags);
}

int getentropy(void* data, size_t size) {
    return callOrFail<"getentropy">(-1, data, size);
}

}  // extern "C"

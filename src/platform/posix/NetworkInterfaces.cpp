#include "platform/NetworkInterfaces.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <sys/socket.h>

#include <array>
#include <cstring>
#include <memory>

namespace quillbay {

namespace {

using AddressList = std::unique_ptr<ifaddrs, void (*)(ifaddrs*)>;

AddressList interfaceAddresses() {
    ifaddrs* first = nullptr;
    if (::getifaddrs(&first) != 0) first = nullptr;
    return {first, &::freeifaddrs};
}

bool hasIPv4Address(const ifaddrs& entry) {
    return entry.ifa_addr != nullptr && entry.ifa_addr->sa_family == AF_INET;
}

}  // namespace

std::optional<std::string> currentIPv4Address(const std::string& interfaceName) {
    const AddressList list = interfaceAddresses();
    for (const ifaddrs* entry = list.get(); entry != nullptr; entry = entry->ifa_next) {
        if (interfaceName != entry->ifa_name || !hasIPv4Address(*entry)) continue;
        std::array<char, NI_MAXHOST> text{};
        if (::getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), text.data(), text.size(), nullptr, 0,
                          NI_NUMERICHOST) == 0) {
            return std::string(text.data());
        }
    }
    return std::nullopt;
}

std::vector<in_addr> multicastIPv4Addresses() {
    constexpr unsigned wanted = IFF_UP | IFF_RUNNING | IFF_MULTICAST;
    constexpr unsigned looked = wanted | IFF_LOOPBACK;
    std::vector<in_addr> addresses;
    const AddressList list = interfaceAddresses();
    for (const ifaddrs* entry = list.get(); entry != nullptr; entry = entry->ifa_next) {
        if (!hasIPv4Address(*entry) || (entry->ifa_flags & looked) != wanted) continue;
        sockaddr_in address{};
        std::memcpy(&address, entry->ifa_addr, sizeof address);
        addresses.push_back(address.sin_addr);
    }
    return addresses;
}

}  // namespace quillbay

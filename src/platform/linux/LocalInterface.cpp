#include <net/if.h>

#include "platform/Files.h"
#include "platform/NetworkInterfaces.h"
#include "platform/linux/RouteTable.h"

namespace quillbay {

std::string localInterfaceName() {
    static constexpr const char* usualName = "en0";
    if (::if_nametoindex(usualName) != 0) return usualName;
    // Room for some 8,000 routes. The main table alone: where a mesh VPN takes over all traffic it does so in
    // a table of its own, and its interface is not the one on which the local network is met.
    constexpr std::size_t limitBytes = std::size_t{1} << 20U;
    // As the calling thread sees it, like the names above: threads of one process may be in different
    // networks.
    const auto table = readFile("/proc/thread-self/net/route", limitBytes);
    return table ? defaultRouteInterface(*table).value_or(usualName) : usualName;
}

}  // namespace quillbay

// The document of the developer tools' device list, and the matching of host names: whatever it holds, it is
// read or refused, and what was read is what a document made from it says.

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/DeviceCtlJSON.h"
#include "discovery/NamingConflict.h"
#include "fuzz/Fuzz.h"

using namespace quillbay;
using fuzz::require;

namespace {

std::string documentOf(const std::vector<DeviceCtl>& devices) {
    auto list = nlohmann::json::array();
    for (const DeviceCtl& device : devices) {
        nlohmann::json entry{{"identifier", device.identifier}};
        if (device.udid) entry["hardwareProperties"]["udid"] = *device.udid;
        if (device.name) entry["deviceProperties"]["name"] = *device.name;
        if (device.tunnelState) entry["connectionProperties"]["tunnelState"] = *device.tunnelState;
        entry["connectionProperties"]["potentialHostnames"] = device.potentialHostnames;
        list.push_back(std::move(entry));
    }
    return nlohmann::json{{"result", {{"devices", std::move(list)}}}}.dump();
}

void checkHostName(std::string_view host) {
    const std::string base = hostBaseName(host);
    // With ".local" behind it, a name that ends like this would have the tools' own domain.
    if (!base.ends_with(".coredevice")) {
        require(hostBaseName(base + ".LOCAL.") == base,
                "domain, final dot and letter case make no difference");
    }
    require(hostBaseName(base + ".coredevice.local") == base, "the tools' own domain makes no difference");
    const auto shortened = withoutConflictSuffix(base);
    if (!shortened) return;
    require(base.starts_with(*shortened), "only the end is taken away");
    const std::string_view suffix = std::string_view(base).substr(shortened->size());
    require(suffix.size() >= 2 && suffix[0] == '-' && suffix[1] >= '2' && suffix[1] <= '9',
            "it counts from 2 on");
    require(suffix.find_first_not_of("0123456789", 1) == std::string_view::npos, "it is a number");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::textOf(data, size);
    checkHostName(bytes);
    const auto devices = decodeDeviceCtlList(bytes);
    if (!devices) return 0;
    for (const DeviceCtl& device : *devices) {
        for (const std::string& host : device.potentialHostnames)
            checkHostName(host);
    }
    require(decodeDeviceCtlList(documentOf(*devices)) == devices,
            "a document made from what was read says the same");
    return 0;
}

// The document of the developer tools' device list, and the matching of host names: whatever it holds, it is
// read or refused, and what was read is what a document made from it says.

#include <fuzzer/FuzzedDataProvider.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/DeviceCtlJSON.h"
#include "discovery/NamingConflict.h"
#include "fuzz/Fuzz.h"
#include "platform/Utf8.h"

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

std::string anyText(FuzzedDataProvider& input) {
    const std::string bytes = input.ConsumeRandomLengthString(30);
    return isValidUtf8(bytes) ? bytes : std::string("unreadable");
}

std::optional<std::string> anyOptionalText(FuzzedDataProvider& input) {
    if (!input.ConsumeBool()) return std::nullopt;
    return anyText(input);
}

void readOwnDocument(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    std::vector<DeviceCtl> devices;
    while (devices.size() < 5 && input.remaining_bytes() > 0) {
        DeviceCtl device;
        device.identifier = anyText(input);
        device.udid = anyOptionalText(input);
        device.name = anyOptionalText(input);
        device.tunnelState = anyOptionalText(input);
        while (device.potentialHostnames.size() < 3 && input.ConsumeBool()) {
            device.potentialHostnames.push_back(anyText(input));
        }
        devices.push_back(std::move(device));
    }
    require(decodeDeviceCtlList(documentOf(devices)) == devices, "the devices are read as they were written");
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
    readOwnDocument(data, size);
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

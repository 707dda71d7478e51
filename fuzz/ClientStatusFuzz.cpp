// The status documents of the VPN clients: whatever a client prints is read or refused, and a document made
// of any names and addresses is read as it was made.

#include <fuzzer/FuzzedDataProvider.h>

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/Fuzz.h"
#include "platform/JSONValue.h"
#include "platform/Utf8.h"
#include "providers/NetbirdClient.h"
#include "providers/TailscaleClient.h"

using namespace quillbay;
using fuzz::require;

namespace {

/// Calls the reader; a refusal is an answer, anything else that is thrown ends the run.
template <typename Read>
void readForeign(Read read, std::string_view document) {
    try {
        for (const auto& device : read(document)) {
            require(isValidUtf8(device.hostName), "what is read from JSON is text");
        }
    } catch (const JSONError& error) {
        require(*error.what() != '\0', "a refusal says why");
    }
}

std::string anyText(FuzzedDataProvider& input) {
    const std::string bytes = input.ConsumeRandomLengthString(30);
    return isValidUtf8(bytes) ? bytes : std::string("unreadable");
}

void readOwnTailscale(FuzzedDataProvider& input) {
    nlohmann::ordered_json peers = nlohmann::ordered_json::object();
    std::vector<TailscaleDevice> expected;
    while (expected.size() < 6 && input.remaining_bytes() > 0) {
        TailscaleDevice device{anyText(input), {}, input.ConsumeBool(), anyText(input)};
        while (device.tailscaleIPs.size() < 3 && input.ConsumeBool())
            device.tailscaleIPs.push_back(anyText(input));
        const std::string key = "nodekey:" + std::to_string(expected.size());
        peers[key] = {{"HostName", device.hostName},
                      {"DNSName", device.dnsName},
                      {"TailscaleIPs", device.tailscaleIPs},
                      {"Online", device.online}};
        expected.push_back(std::move(device));
    }
    const std::string document =
        nlohmann::ordered_json{{"Self", {{"HostName", "me"}}}, {"Peer", peers}}.dump();
    require(decodeTailscaleStatus(document) == expected, "the peers are read as they were written");
}

void readOwnNetbird(FuzzedDataProvider& input) {
    nlohmann::json details = nlohmann::json::array();
    std::vector<std::string> connected;
    for (int count = 0; count < 6 && input.remaining_bytes() > 0; ++count) {
        const std::string name = anyText(input);
        const bool online = input.ConsumeBool();
        // Behind a first label that is ours, the rest of the name must not matter.
        const std::string label = "peer" + std::to_string(count);
        details.push_back({{"fqdn", label + "." + name},
                           {"netbirdIp", "100.64.0.1/" + name},
                           {"status", online ? "Connected" : "Disconnected"}});
        if (online) connected.push_back(label);
    }
    const auto devices = decodeNetbirdStatus(nlohmann::json{{"peers", {{"details", details}}}}.dump());
    require(devices.size() == details.size(), "every peer is read");
    std::vector<std::string> found;
    for (const MeshVPNDevice& device : devices) {
        require(device.ipAddresses == std::vector<std::string>{"100.64.0.1"},
                "the address ends at the prefix length");
        if (device.online) found.push_back(device.hostName);
    }
    require(found == connected, "the first label is the name, and exactly the connected ones are online");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    readForeign(decodeTailscaleStatus, fuzz::textOf(data, size));
    readForeign(decodeNetbirdStatus, fuzz::textOf(data, size));
    FuzzedDataProvider forTailscale(data, size);
    readOwnTailscale(forTailscale);
    FuzzedDataProvider forNetbird(data, size);
    readOwnNetbird(forNetbird);
    return 0;
}

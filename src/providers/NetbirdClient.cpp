#include "providers/NetbirdClient.h"

#include <algorithm>
#include <utility>

#include "platform/JSONValue.h"
#include "providers/ClientStatus.h"
#include "providers/NetbirdAdapter.h"

namespace quillbay {

namespace {

std::string_view text(const JSONValue& peer, std::string_view name) {
    const JSONValue* value = peer.member(name);
    return value == nullptr ? std::string_view() : std::string_view(value->string(name));
}

/// The first label that is not empty.
std::string displayName(std::string_view fqdn) {
    const std::size_t begin = std::min(fqdn.find_first_not_of('.'), fqdn.size());
    const std::string_view label = fqdn.substr(begin, fqdn.substr(begin).find('.'));
    return label.empty() ? "unknown" : std::string(label);
}

MeshVPNDevice decodePeer(const JSONValue& peer) {
    MeshVPNDevice device;
    device.hostName = displayName(text(peer, "fqdn"));
    // Written with the length of the network's prefix by some versions of the client, without by others.
    const std::string_view netbirdIP = text(peer, "netbirdIp");
    const std::string_view address = netbirdIP.substr(0, netbirdIP.find('/'));
    if (!address.empty()) device.ipAddresses.emplace_back(address);
    device.online = text(peer, "status") == "Connected";
    return device;
}

}  // namespace

std::vector<MeshVPNDevice> decodeNetbirdStatus(std::string_view document) {
    const JSONValue root = JSONValue::parse(document);
    const JSONValue* peers = root.member("peers");
    const JSONValue* details = peers == nullptr ? nullptr : peers->member("details");
    if (details == nullptr) return {};
    std::vector<MeshVPNDevice> devices;
    for (const JSONValue& peer : details->array("details"))
        devices.push_back(decodePeer(peer));
    return devices;
}

NetbirdClient::NetbirdClient(std::optional<std::string> givenPath, ExecutableTest isExecutable)
    : binaryPath(NetbirdAdapter::providerType(), std::move(givenPath), std::move(isExecutable)) {}

std::vector<MeshVPNDevice> NetbirdClient::listDevices(const StopToken& token) const {
    const std::optional<std::string> executable = binaryPath.executable();
    if (!executable) throw MeshVPNProviderError::binaryNotFound();
    const std::string document = readClientStatus(*executable, token);
    try {
        return decodeNetbirdStatus(document);
    } catch (const JSONError& error) {
        throw MeshVPNProviderError::decodingFailed(error.what());
    }
}

}  // namespace quillbay

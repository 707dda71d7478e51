#include "providers/TailscaleClient.h"

#include <unordered_map>
#include <utility>

#include "platform/JSONValue.h"
#include "providers/ClientStatus.h"
#include "providers/TailscaleAdapter.h"

namespace quillbay {

namespace {

std::string text(const JSONValue& peer, std::string_view name) {
    const JSONValue* value = peer.member(name);
    return value == nullptr ? std::string() : value->string(name);
}

TailscaleDevice decodePeer(const JSONValue& peer) {
    TailscaleDevice device;
    device.hostName = text(peer, "HostName");
    device.dnsName = text(peer, "DNSName");
    if (const JSONValue* addresses = peer.member("TailscaleIPs")) {
        for (const JSONValue& address : addresses->array("TailscaleIPs")) {
            device.tailscaleIPs.push_back(address.string("TailscaleIPs"));
        }
    }
    if (const JSONValue* online = peer.member("Online")) device.online = online->boolean("Online");
    return device;
}

}  // namespace

std::vector<TailscaleDevice> decodeTailscaleStatus(std::string_view document) {
    const JSONValue root = JSONValue::parse(document);
    const JSONValue* peers = root.member("Peer");
    if (peers == nullptr) return {};
    std::vector<TailscaleDevice> devices;
    std::unordered_map<std::string_view, std::size_t> places;
    for (const JSONMember& peer : peers->object("Peer")) {
        const auto [place, isNew] = places.emplace(peer.name, devices.size());
        if (isNew) devices.emplace_back();
        devices[place->second] = decodePeer(peer.value);
    }
    return devices;
}

TailscaleClient::TailscaleClient(std::optional<std::string> givenPath, ExecutableTest isExecutable)
    : binaryPath(TailscaleAdapter::providerType(), std::move(givenPath), std::move(isExecutable)) {}

std::vector<TailscaleDevice> TailscaleClient::listDevices(const StopToken& token) const {
    const std::optional<std::string> executable = binaryPath.executable();
    if (!executable) throw MeshVPNProviderError::binaryNotFound();
    const std::string document = readClientStatus(*executable, token);
    try {
        return decodeTailscaleStatus(document);
    } catch (const JSONError& error) {
        throw MeshVPNProviderError::decodingFailed(error.what());
    }
}

}  // namespace quillbay

#include "profile/DeviceProfileJSON.h"

#include <nlohmann/json.hpp>

#include "platform/JSONValue.h"
#include "profile/ByteText.h"

namespace quillbay {

namespace {

std::string requiredText(const JSONValue& object, std::string_view name) {
    return bytesFromText(object.requiredMember(name).string(name));
}

std::optional<std::string> optionalText(const JSONValue& object, std::string_view name) {
    const JSONValue* value = object.member(name);
    if (value == nullptr) return std::nullopt;
    return bytesFromText(value->string(name));
}

std::uint16_t requiredPort(const JSONValue& object, std::string_view name) {
    return object.requiredMember(name).uint16(name);
}

void readProvider(const JSONValue& object, DeviceProfile& profile) {
    profile.providerID = optionalText(object, "providerID");
    if (profile.providerID) {
        profile.providerHostName = optionalText(object, "providerHostName").value_or("");
        profile.providerIP = optionalText(object, "providerIP").value_or("");
        return;
    }
    profile.providerID = "tailscale";
    profile.providerHostName = optionalText(object, "tailscaleHostName").value_or("");
    profile.providerIP = optionalText(object, "tailscaleIP").value_or("");
}

DeviceProfile decodeProfile(const JSONValue& object) {
    DeviceProfile profile;
    profile.displayName = requiredText(object, "displayName");
    profile.bonjourName = requiredText(object, "bonjourName");
    profile.bonjourHost = requiredText(object, "bonjourHost");
    profile.serviceType = requiredText(object, "serviceType");
    profile.remotePairingPort = requiredPort(object, "remotePairingPort");
    profile.tunnelPortRangeStart = requiredPort(object, "tunnelPortRangeStart");
    profile.tunnelPortRangeEnd = requiredPort(object, "tunnelPortRangeEnd");
    for (const JSONMember& entry : object.requiredMember("txtRecord").object("txtRecord")) {
        profile.txtRecord.insert_or_assign(bytesFromText(entry.name),
                                           bytesFromText(entry.value.string("txtRecord")));
    }
    if (const JSONValue* enabled = object.member("bridgeEnabled")) {
        profile.bridgeEnabled = enabled->boolean("bridgeEnabled");
    }
    readProvider(object, profile);
    return profile;
}

nlohmann::ordered_json encodeProfile(const DeviceProfile& profile) {
    nlohmann::ordered_json object;
    object["displayName"] = textFromBytes(profile.displayName);
    object["bonjourName"] = textFromBytes(profile.bonjourName);
    object["bonjourHost"] = textFromBytes(profile.bonjourHost);
    object["serviceType"] = textFromBytes(profile.serviceType);
    object["remotePairingPort"] = profile.remotePairingPort;
    object["tunnelPortRangeStart"] = profile.tunnelPortRangeStart;
    object["tunnelPortRangeEnd"] = profile.tunnelPortRangeEnd;
    if (profile.providerID) object["providerID"] = textFromBytes(*profile.providerID);
    object["providerHostName"] = textFromBytes(profile.providerHostName);
    object["providerIP"] = textFromBytes(profile.providerIP);
    // Sorted and so without the ordered form's linear look-ups: a TXT record's size is the network's choice.
    nlohmann::json entries = nlohmann::json::object();
    for (const auto& [key, value] : profile.txtRecord)
        entries[textFromBytes(key)] = textFromBytes(value);
    object["txtRecord"] = entries;
    if (profile.bridgeEnabled) object["bridgeEnabled"] = *profile.bridgeEnabled;
    return object;
}

}  // namespace

std::vector<DeviceProfile> decodeProfiles(std::string_view document) {
    const JSONValue root = JSONValue::parse(document);
    const std::vector<JSONValue>& elements = root.array("devices");
    std::vector<DeviceProfile> profiles;
    profiles.reserve(elements.size());
    for (const JSONValue& element : elements)
        profiles.push_back(decodeProfile(element));
    return profiles;
}

std::string encodeProfiles(const std::vector<DeviceProfile>& profiles) {
    auto document = nlohmann::ordered_json::array();
    for (const DeviceProfile& profile : profiles)
        document.push_back(encodeProfile(profile));
    return document.dump();
}

}  // namespace quillbay

#include "discovery/DeviceCtlJSON.h"

#include <string>

#include "platform/JSONValue.h"

namespace quillbay {

namespace {

std::optional<std::string> optionalText(const JSONValue* object, const char* key) {
    const JSONValue* value = object == nullptr ? nullptr : object->member(key);
    if (value == nullptr) return std::nullopt;
    return value->string(key);
}

DeviceCtl decodeDevice(const JSONValue& device) {
    DeviceCtl decoded;
    decoded.identifier = device.requiredMember("identifier").string("identifier");
    decoded.udid = optionalText(device.member("hardwareProperties"), "udid");
    decoded.name = optionalText(device.member("deviceProperties"), "name");
    const JSONValue* connection = device.member("connectionProperties");
    decoded.tunnelState = optionalText(connection, "tunnelState");
    const JSONValue* hostnames = connection == nullptr ? nullptr : connection->member("potentialHostnames");
    if (hostnames == nullptr) return decoded;
    for (const JSONValue& hostname : hostnames->array("potentialHostnames"))
        decoded.potentialHostnames.push_back(hostname.string("potentialHostnames"));
    return decoded;
}

}  // namespace

std::optional<std::vector<DeviceCtl>> decodeDeviceCtlList(std::string_view document) {
    try {
        const JSONValue parsed = JSONValue::parse(document);
        const JSONValue& result = parsed.requiredMember("result");
        std::vector<DeviceCtl> devices;
        for (const JSONValue& device : result.requiredMember("devices").array("devices"))
            devices.push_back(decodeDevice(device));
        return devices;
    } catch (const JSONError&) {
        return std::nullopt;
    }
}

}  // namespace quillbay

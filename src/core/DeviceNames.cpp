#include "core/DeviceNames.h"

namespace quillbay {

namespace {

/// Identifiers are hexadecimal digits and hyphens.
std::string uppercased(std::string_view identifier) {
    std::string upper(identifier);
    for (char& character : upper)
        if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 'a' + 'A');
    return upper;
}

}  // namespace

void DeviceNames::learn(const std::vector<DeviceCtl>& devices) {
    for (const DeviceCtl& device : devices) {
        if (!device.name) continue;
        if (device.udid) resolvedNamesByUDID_.insert_or_assign(uppercased(*device.udid), *device.name);
        resolvedNamesByIdentifier_.insert_or_assign(uppercased(device.identifier), *device.name);
    }
}

std::optional<std::string> DeviceNames::name(std::string_view identifier) const {
    const std::string key = uppercased(identifier);
    for (const auto* names : {&resolvedNamesByUDID_, &resolvedNamesByIdentifier_})
        if (const auto found = names->find(key); found != names->end()) return found->second;
    return std::nullopt;
}

}  // namespace quillbay

// Who may use the bridges: the setting of it, and what it does to those that run.

#include <exception>
#include <string>

#include "core/AppCoordinator.h"

namespace quillbay {

namespace {

constexpr const char* onlyThisComputerKey = "bridge.onlyThisComputer";

/// Whoever has restricted the bridge must not find it open because a file was damaged: what cannot be read
/// counts as restricted, and so does a value that is neither true nor false.
bool readOnlyThisComputer(const SettingsStore& settings) {
    try {
        settings.checkReadable();
    } catch (const std::exception&) {
        return true;
    }
    if (!settings.has(onlyThisComputerKey)) return false;
    return settings.boolean(onlyThisComputerKey).value_or(true);
}

}  // namespace

void AppCoordinator::restoreAccess() {
    const bool only = readOnlyThisComputer(settings_);
    if (only) logs_.diagnostic("Only this computer may use the bridge");
    access_->setOnlyThisComputer(only);
}

std::optional<std::string> AppCoordinator::setOnlyThisComputer(bool only) {
    if (only != access_->onlyThisComputer()) {
        access_->setOnlyThisComputer(only);
        logs_.diagnostic(only ? "From now on only this computer may use the bridge"
                              : "From now on other computers may use the bridge, too");
        if (only)
            for (const auto& [id, bridge] : bridgesByProfileID_)
                bridge->endConnectionsOfOthers();
    }
    std::optional<std::string> notKept = keepSetting("Who may use the bridge", [&](SettingsStore& settings) {
        settings.setBoolean(onlyThisComputerKey, only);
    });
    published.notify(Published::access);
    return notKept;
}

}  // namespace quillbay

#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/FileLocations.h"
#include "platform/HostTools.h"
#include "platform/RandomSource.h"
#include "platform/StopToken.h"

namespace quillbay {

/// A device that the developer tools know.
struct DeviceCtl {
    std::string identifier;
    std::optional<std::string> udid;
    std::optional<std::string> name;
    std::vector<std::string> potentialHostnames;
    std::optional<std::string> tunnelState;

    bool operator==(const DeviceCtl&) const = default;
};

/// Asks the developer tools through `devicectl` which iPhones they know. Keeps no state: every question runs
/// the tool anew, and calls may overlap. All members block their caller for the whole run and belong on a
/// background thread; a stop of the token ends the tool and the call, as a failure.
class DeviceCtlLister {
 public:
    DeviceCtlLister(HostTools tools, FileLocations files, RandomSource& random);

    /// Throws DeviceCtlListerError (discovery/DeviceCtlListerError.h).
    [[nodiscard]] std::vector<DeviceCtl> listDevices(const StopToken& token = {}) const;

    /// Device names by UDID in upper case; empty on any failure. Of two devices with one UDID, the last one
    /// counts.
    [[nodiscard]] std::map<std::string, std::string> nameByUDID(const StopToken& token = {}) const;

    /// The tunnel state of the device that owns the Bonjour host name; nothing on any failure.
    [[nodiscard]] std::optional<std::string> tunnelState(const std::string& resolvedHost,
                                                         const StopToken& token = {}) const;

 private:
    HostTools tools_;
    FileLocations files_;
    RandomSource& random_;
};

}  // namespace quillbay

#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/DeviceCtlLister.h"

namespace quillbay {

/// The names that people gave their devices, as the developer tools last told them. What was learned once is
/// kept until a newer name replaces it.
class DeviceNames {
 public:
    void learn(const std::vector<DeviceCtl>& devices);

    /// The name of the device with this UDID or, failing that, with this identifier of `devicectl`; the case
    /// of ASCII letters makes no difference.
    [[nodiscard]] std::optional<std::string> name(std::string_view identifier) const;

 private:
    // Both by upper-case key.
    std::map<std::string, std::string, std::less<>> resolvedNamesByUDID_;
    std::map<std::string, std::string, std::less<>> resolvedNamesByIdentifier_;
};

}  // namespace quillbay

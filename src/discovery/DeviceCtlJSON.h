#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "discovery/DeviceCtlLister.h"

namespace quillbay {

/// The devices in the document that `devicectl list devices` writes:
///
///     {"result": {"devices": [{"identifier": text,
///                              "hardwareProperties": {"udid": text},
///                              "deviceProperties": {"name": text},
///                              "connectionProperties": {"potentialHostnames": [text],
///                                                       "tunnelState": text}}]}}
///
/// "result", "devices" and each "identifier" must be there; everything else may be missing or null, and other
/// keys are ignored. Nothing when the text is no such document, also when it is nested deeper than 64 levels.
std::optional<std::vector<DeviceCtl>> decodeDeviceCtlList(std::string_view document);

}  // namespace quillbay

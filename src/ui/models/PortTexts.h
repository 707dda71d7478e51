#pragma once

#include <QString>
#include <cstddef>

#include "profile/DeviceProfile.h"

namespace quillbay {

/// "55000–58000".
QString tunnelPortRangeText(const DeviceProfile& profile);

/// "4,212 of 16,384 ports": grouped by commas, as all of the interface is in English.
QString probedPortsText(std::size_t probed, std::size_t total);

}  // namespace quillbay

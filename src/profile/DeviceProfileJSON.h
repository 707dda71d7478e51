#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "profile/DeviceProfile.h"

namespace quillbay {

// The form in which profiles are kept: a JSON array of objects, one per profile, in the order of the list.

/// The profiles of a document. Read strictly: one missing or mistyped value anywhere throws JSONError. A null
/// counts as absent where a key may be absent; of a key that occurs twice the last value counts; unknown keys
/// are ignored. A profile of the time before there were several providers becomes one of Tailscale's.
std::vector<DeviceProfile> decodeProfiles(std::string_view document);

/// The document for the profiles. Names and TXT values may be any bytes: see ByteText.h.
std::string encodeProfiles(const std::vector<DeviceProfile>& profiles);

}  // namespace quillbay

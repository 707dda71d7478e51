#pragma once

#include <string_view>
#include <vector>

#include "providers/MeshVPNProvider.h"

/// The mesh VPNs that this system knows.
namespace quillbay::MeshVPNProviderRegistry {

/// In the order in which they are shown.
const std::vector<MeshVPNProviderType>& all();

/// The first one with exactly this id; nullptr if there is none.
const MeshVPNProviderType* provider(std::string_view id);

}  // namespace quillbay::MeshVPNProviderRegistry

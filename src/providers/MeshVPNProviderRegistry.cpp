#include "providers/MeshVPNProviderRegistry.h"

#include <algorithm>

#include "providers/NetbirdAdapter.h"
#include "providers/TailscaleAdapter.h"
#include "providers/ZeroTierAdapter.h"

namespace quillbay::MeshVPNProviderRegistry {

const std::vector<MeshVPNProviderType>& all() {
    static const std::vector<MeshVPNProviderType> types{
        TailscaleAdapter::providerType(), ZeroTierAdapter::providerType(), NetbirdAdapter::providerType()};
    return types;
}

const MeshVPNProviderType* provider(std::string_view id) {
    const auto found = std::find_if(all().begin(), all().end(),
                                    [&](const MeshVPNProviderType& type) { return type.id == id; });
    return found == all().end() ? nullptr : &*found;
}

}  // namespace quillbay::MeshVPNProviderRegistry

#include "ui/models/ProviderSymbol.h"

namespace quillbay {

QString providerSymbol(std::string_view iconAssetName) {
    if (iconAssetName == "ProviderIcon-Tailscale") return QStringLiteral("provider.mesh");
    if (iconAssetName == "ProviderIcon-ZeroTier") return QStringLiteral("provider.star");
    if (iconAssetName == "ProviderIcon-Netbird") return QStringLiteral("provider.ring");
    return QStringLiteral("network");
}

}  // namespace quillbay

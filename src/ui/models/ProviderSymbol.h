#pragma once

#include <QString>
#include <string_view>

namespace quillbay {

/// The name of the symbol for a provider with this `iconAssetName`; `network` for one that has no mark.
QString providerSymbol(std::string_view iconAssetName);

}  // namespace quillbay

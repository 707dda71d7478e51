#include "control/ControlNames.h"

#include <algorithm>

#include "control/ControlRequest.h"
#include "platform/Text.h"

namespace quillbay::control {

std::string checkedDisplayName(std::string_view name) {
    std::string kept = trimmed(name);
    if (kept.empty()) throw RefusedRequest("The name is empty.");
    const bool hasControls = std::any_of(kept.begin(), kept.end(), [](char c) {
        constexpr unsigned char firstPrintable = 0x20;
        constexpr unsigned char deleteCharacter = 0x7f;
        const auto byte = static_cast<unsigned char>(c);
        return byte < firstPrintable || byte == deleteCharacter;
    });
    if (hasControls) throw RefusedRequest("A name must not contain control characters.");
    return kept;
}

}  // namespace quillbay::control

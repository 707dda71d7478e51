#include "control/ControlNames.h"

#include <cstddef>

#include "control/ControlRequest.h"
#include "platform/Text.h"

namespace quillbay::control {

namespace {

/// Unicode's general category Cc. `text` is UTF-8.
bool hasControls(std::string_view text) {
    for (std::size_t index = 0; index < text.size(); ++index) {
        const auto byte = static_cast<unsigned char>(text[index]);
        if (byte < 0x20U || byte == 0x7fU) return true;
        if (byte == 0xc2U && index + 1 < text.size() && static_cast<unsigned char>(text[index + 1]) < 0xa0U)
            return true;
    }
    return false;
}

}  // namespace

std::string checkedDisplayName(std::string_view name) {
    std::string kept = trimmed(name);
    if (kept.empty()) throw RefusedRequest("The name is empty.");
    if (hasControls(kept)) throw RefusedRequest("A name must not contain control characters.");
    return kept;
}

void checkAddress(std::string_view address) {
    const std::string kept = trimmedBlanks(address);
    if (kept.empty()) throw RefusedRequest("The address is empty.");
    if (hasControls(kept)) throw RefusedRequest("An address must not contain control characters.");
}

}  // namespace quillbay::control

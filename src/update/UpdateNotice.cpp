#include "update/UpdateNotice.h"

#include <fmt/format.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <memory>
#include <string_view>
#include <utility>

namespace quillbay {

namespace {

/// Whether a terminal could take the character for an order, or a reader the line for another one.
bool changesTheLine(UChar32 character) {
    switch (u_charType(character)) {
        case U_CONTROL_CHAR:
        case U_FORMAT_CHAR:
        case U_LINE_SEPARATOR:
        case U_PARAGRAPH_SEPARATOR:
            return true;
        default:
            return false;
    }
}

std::string visible(std::string_view text) {
    constexpr UChar32 standIn = 0xFFFD;
    constexpr int32_t mostCharacters = 40;
    const auto characters =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    const int32_t end = characters.moveIndex32(0, mostCharacters);
    icu::UnicodeString shown;
    for (int32_t at = 0; at < end; at = characters.moveIndex32(at, 1)) {
        const UChar32 character = characters.char32At(at);
        shown.append(changesTheLine(character) ? standIn : character);
    }
    std::string bytes;
    shown.toUTF8String(bytes);
    return end < characters.length() ? bytes + "…" : bytes;
}

}  // namespace

std::string updateNoticeLine(const Update& update) {
    return fmt::format("Version {} is available: {}", visible(update.version), update.downloadURL);
}

UpdateNotice::UpdateNotice(const std::shared_ptr<UpdateChecker>& checker,
                           std::function<void(const std::string& line)> print)
    : subscription_(checker->changed.add([this, weak = std::weak_ptr(checker), print = std::move(print)] {
          const auto kept = weak.lock();
          if (!kept || !kept->available() || printedVersion_ == kept->available()->version) return;
          printedVersion_ = kept->available()->version;
          print(updateNoticeLine(*kept->available()));
      })) {}

}  // namespace quillbay

#include "update/UpdateNotice.h"

#include <fmt/format.h>
#include <unicode/unistr.h>

#include <memory>
#include <string>
#include <utility>

#include "platform/PrintableText.h"

namespace quillbay {

namespace {

/// No version is as long as this; a hostile one must not fill the screen.
std::string shortened(const std::string& text) {
    constexpr int32_t mostCharacters = 40;
    const auto characters = icu::UnicodeString::fromUTF8(text);
    if (characters.countChar32() <= mostCharacters) return text;
    std::string bytes;
    characters.tempSubString(0, characters.moveIndex32(0, mostCharacters)).toUTF8String(bytes);
    return bytes + "…";
}

}  // namespace

std::string updateNoticeLine(const Update& update) {
    return fmt::format("Version {} is available: {}", printable(shortened(update.version)),
                       update.downloadURL);
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

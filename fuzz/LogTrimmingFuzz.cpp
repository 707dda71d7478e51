// Cutting the log back: what is kept is the end of the text, whole characters as a reader sees them, and as
// many of them as were asked for.

#include <algorithm>
#include <string>
#include <string_view>

#include "core/LogFile.h"
#include "fuzz/Fuzz.h"
#include "platform/Text.h"
#include "platform/Utf8.h"

using namespace quillbay;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::size_t wanted = data[0];
    const std::string_view text = fuzz::textOf(data + 1, size - 1);

    const auto kept = trimmedLog(text, wanted);
    require(kept.has_value() == isValidUtf8(text), "exactly what is text is trimmed");
    if (!kept) return 0;
    const std::size_t count = characterCount(text);
    require(text.ends_with(*kept), "the end is what is kept");
    require(isValidUtf8(*kept), "no character is cut through");
    require(characterCount(*kept) == std::min(wanted, count), "as many characters as wanted are kept");
    require(trimmedLog(*kept, wanted) == kept, "what was trimmed stays as it is");

    const std::string front = firstCharacters(text, wanted);
    require(text.starts_with(front), "the beginning is the beginning");
    require(front + lastCharacters(text, count - std::min(wanted, count)) == text,
            "both parts make the whole");
    const std::string core = trimmed(text);
    require(text.find(core) != std::string_view::npos && trimmed(core) == core, "white space goes at once");
    return 0;
}

#include "core/UserFacingConnectionError.h"

#include <re2/re2.h>

#include <array>

#include "platform/Text.h"
#include "platform/Utf8.h"

namespace quillbay::UserFacingConnectionError {

namespace {

/// The phrases that a failure text must all contain, in lower case, and the sentence for it; "%P" in the
/// sentence is where the provider's name goes.
struct Rule {
    std::string_view phrase;
    std::string_view secondPhrase;
    std::string_view sentence;
};

constexpr std::string_view notExposed =
    "Wireless debugging isn't available over %P. On the iPhone, check Settings → Developer → Wireless "
    "Debugging.";
constexpr std::string_view portChanged = "The device's debugging port may have changed. Try Scan port.";
constexpr std::string_view wrongPort =
    "Reached the device, but not on the wireless debugging port. Try Scan port.";
constexpr std::string_view localPortBusy = "A required local port is busy. Try again, or restart Quillbay.";

// The first rule that fits gives the sentence, and the order decides many cases: a system error that says
// "refused" is a busy local port, for example, since only the bridge itself says "refused the connection"
// about the phone.
constexpr std::array<Rule, 14> rules{{
    {"still live on the local network", "",
     "The device is still on this Mac's local network. Move it to a different Wi\u2011Fi before bridging. "
     "Cellular won't work."},
    {"could not read local ip", "", "Couldn't determine this Mac's network address."},
    {"none of the device", "responded", "Couldn't reach the device. Confirm %P is connected on the iPhone."},
    {"isn't exposing remotepairingd", "", notExposed},
    {"no remotepairing", "path is healthy", notExposed},
    {"refused the connection", "", portChanged},
    {"port may have changed", "", portChanged},
    {"not speaking the remotepairing", "", wrongPort},
    {"not speaking remotepairing", "", wrongPort},
    {"not responding", "", "The device isn't responding. Confirm %P is connected on the iPhone."},
    {"address already in use", "", localPortBusy},
    {"posixerrorcode", "", localPortBusy},
    {"control channel", "failed", "The connection to the device was interrupted."},
    {"no remotepairing service found", "",
     "Couldn't find wireless debugging on the device. Confirm %P is connected on the iPhone."},
}};

bool contains(std::string_view text, std::string_view phrase) {
    return text.find(phrase) != std::string_view::npos;
}

std::string withProvider(std::string_view sentence, std::string_view providerDisplayName) {
    constexpr std::string_view placeholder = "%P";
    std::string result(sentence);
    const std::size_t place = result.find(placeholder);
    if (place != std::string::npos) result.replace(place, placeholder.size(), providerDisplayName);
    return result;
}

/// The failure text itself, without its first tag and not too long for the screen.
std::string cleaned(std::string_view raw) {
    // White space is Unicode's White_Space property; RE2's own \s knows only ASCII.
    static const re2::RE2 tag(
        R"([\x{09}-\x{0D}\x{20}\x{85}\x{A0}\x{1680}\x{2000}-\x{200A}\x{2028}\x{2029}\x{202F}\x{205F}\x{3000}]*)"
        R"(\[[^\]]*\])");
    std::string text = wellFormedUtf8(raw);
    re2::RE2::Replace(&text, tag, "");
    text = trimmed(text);

    constexpr std::size_t longest = 160;
    constexpr std::size_t keptOfLonger = 157;
    if (firstCharacters(text, longest).size() < text.size()) return firstCharacters(text, keptOfLonger) + "…";
    if (text.empty()) return "Something went wrong while connecting.";
    return text;
}

}  // namespace

std::string message(std::string_view raw, std::string_view providerDisplayName) {
    const std::string text = lowercased(raw);
    for (const Rule& rule : rules) {
        if (contains(text, rule.phrase) && contains(text, rule.secondPhrase)) {
            return withProvider(rule.sentence, providerDisplayName);
        }
    }
    return cleaned(raw);
}

}  // namespace quillbay::UserFacingConnectionError

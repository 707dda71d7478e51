// The update service's answer, its addresses and its version: whatever it says is read or refused, what was
// read is what an answer made from it says, versions have an order, and a notice of it is one line.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/Fuzz.h"
#include "platform/JSONValue.h"
#include "platform/Utf8.h"
#include "update/LatestResponse.h"
#include "update/UpdateNotice.h"
#include "update/VersionNumber.h"
#include "update/WebAddress.h"

using namespace quillbay;
using fuzz::require;

namespace {

/// Nothing for an answer that is refused; anything else that is thrown ends the run.
std::optional<LatestResponse> read(std::string_view body) {
    try {
        return decodeLatestResponse(body);
    } catch (const JSONError& error) {
        require(*error.what() != '\0', "a refusal says why");
        return std::nullopt;
    }
}

std::string bodyOf(const LatestResponse& response) {
    nlohmann::json body{
        {"version", response.version}, {"download_url", response.downloadURL}, {"other", {1}}};
    if (response.releaseNotesURL) body["release_notes_url"] = *response.releaseNotesURL;
    return body.dump();
}

/// Whether a control character of ASCII is in `text`.
bool holdsControlCharacters(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char letter) {
        const auto byte = static_cast<unsigned char>(letter);
        return byte < ' ' || byte == 0x7F;
    });
}

void checkAddress(std::string_view text) {
    if (!isWebAddress(text)) return;
    require(text.size() <= 2048, "an address has a bound");
    std::string beginning(text.substr(0, 8));
    std::transform(beginning.begin(), beginning.end(), beginning.begin(),
                   [](char letter) { return letter >= 'A' && letter <= 'Z' ? char(letter + 32) : letter; });
    require(beginning.starts_with("http://") || beginning == "https://", "only pages of the web are opened");
    require(
        std::all_of(text.begin(), text.end(), [](char letter) { return letter > ' ' && letter < '\x7F'; }),
        "an address is visible ASCII");
}

void checkVersions(std::string_view one, std::string_view other) {
    require(!isNewer(one, one), "no version is newer than itself");
    require(!(isNewer(one, other) && isNewer(other, one)), "of two versions one at most is newer");
    require(isNewer(one, other) || isNewer(other, one) || components(one) == components(other),
            "versions that differ have an order");
    require(components(std::string(one) + "..") == components(one), "empty pieces do not count");
}

void checkNotice(const LatestResponse& response) {
    const std::string line = updateNoticeLine({response.version, "https://quillbay.example", std::nullopt});
    require(isValidUtf8(line), "a notice is text");
    require(line.size() < 300, "a notice has a bound");
    require(!holdsControlCharacters(line), "a notice is one line");
}

void check(const LatestResponse& response) {
    checkAddress(response.downloadURL);
    checkVersions(response.version, response.downloadURL);
    checkNotice(response);
    require(read(bodyOf(response)) == response, "an answer is read as it was made");
}

std::string anyText(FuzzedDataProvider& input) {
    const std::string bytes = input.ConsumeRandomLengthString(60);
    return isValidUtf8(bytes) ? bytes : std::string("unreadable");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::textOf(data, size);
    if (const auto response = read(bytes)) check(*response);
    checkAddress(bytes);
    checkVersions(bytes.substr(0, size / 2), bytes.substr(size / 2));

    FuzzedDataProvider input(data, size);
    LatestResponse made{anyText(input), anyText(input), std::nullopt};
    if (input.ConsumeBool()) made.releaseNotesURL = anyText(input);
    check(made);
    return 0;
}

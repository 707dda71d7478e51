// The file of device profiles: whatever it holds, it is read or refused, and what was read survives being
// written. Any profile, with any bytes in it, comes back from the file as it was.

#include <fuzzer/FuzzedDataProvider.h>

#include <string>
#include <vector>

#include "fuzz/Fuzz.h"
#include "platform/JSONValue.h"
#include "platform/Utf8.h"
#include "profile/ByteText.h"
#include "profile/DeviceProfileJSON.h"

using namespace quillbay;
using fuzz::require;

namespace {

void readForeignDocument(std::string_view document) {
    std::vector<DeviceProfile> profiles;
    try {
        profiles = decodeProfiles(document);
    } catch (const JSONError&) {
        return;  // The one way to refuse; anything else ends the run.
    }
    for (const DeviceProfile& profile : profiles) {
        require(profile.providerID.has_value(), "a profile from a file has a provider");
    }
    const std::string written = encodeProfiles(profiles);
    require(isValidUtf8(written), "the file is UTF-8");
    require(decodeProfiles(written) == profiles, "what was read comes back after it was written");
}

DeviceProfile anyProfile(FuzzedDataProvider& input) {
    DeviceProfile profile = DeviceProfile::draft(input.ConsumeRandomLengthString(40));
    profile.bonjourName = input.ConsumeRandomLengthString(40);
    profile.bonjourHost = input.ConsumeRandomLengthString(40);
    profile.remotePairingPort = input.ConsumeIntegral<std::uint16_t>();
    profile.tunnelPortRangeEnd = input.ConsumeIntegral<std::uint16_t>();
    profile.providerID = input.ConsumeRandomLengthString(12);
    profile.providerHostName = input.ConsumeRandomLengthString(40);
    profile.providerIP = input.ConsumeRandomLengthString(40);
    while (profile.txtRecord.size() < 6 && input.ConsumeBool()) {
        std::string key = input.ConsumeRandomLengthString(20);
        profile.txtRecord[std::move(key)] = input.ConsumeRandomLengthString(60);
    }
    if (input.ConsumeBool()) profile.bridgeEnabled = input.ConsumeBool();
    return profile;
}

void writeOwnProfiles(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    std::vector<DeviceProfile> profiles;
    while (profiles.size() < 3 && input.remaining_bytes() > 0)
        profiles.push_back(anyProfile(input));
    require(decodeProfiles(encodeProfiles(profiles)) == profiles,
            "a profile comes back from the file as it was");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::textOf(data, size);
    const std::string text = textFromBytes(bytes);
    require(isValidUtf8(text), "the text for bytes is UTF-8");
    require(bytesFromText(text) == bytes, "bytes come back from their text");

    readForeignDocument(bytes);
    writeOwnProfiles(data, size);
    return 0;
}

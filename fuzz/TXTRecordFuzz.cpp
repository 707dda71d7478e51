// TXT records as they are on the wire: what can be read is written back as the same bytes.

#include <algorithm>
#include <string>
#include <vector>

#include "dns-sd/TXTRecord.h"
#include "fuzz/Fuzz.h"

using namespace quillbay::dnssd;
using quillbay::fuzz::require;

namespace {

/// Any bytes as strings of a record: cut at every zero byte.
std::vector<std::string> asStrings(std::string_view bytes) {
    std::vector<std::string> strings;
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\0'), bytes.size());
        strings.emplace_back(bytes.substr(0, end));
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
    }
    return strings;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = quillbay::fuzz::textOf(data, size);

    if (const auto strings = TXTRecord::decode(bytes)) {
        std::size_t total = 0;
        for (const std::string& string : *strings)
            total += 1 + string.size();
        require(total == bytes.size(), "every byte of the record is in a string");
        if (!strings->empty() && bytes.size() <= TXTRecord::maximumBytes) {
            require(TXTRecord::encode(*strings) == std::string(bytes), "a record is written as it was read");
        }
    }

    const std::vector<std::string> strings = asStrings(bytes);
    const auto encoded = TXTRecord::encode(strings);
    const bool fits = std::all_of(strings.begin(), strings.end(), [](const std::string& string) {
        return string.size() <= TXTRecord::maximumStringBytes;
    });
    if (!fits) require(!encoded, "a string that is too long is refused");
    if (encoded) {
        require(encoded->size() <= TXTRecord::maximumBytes, "no record is larger than the limit");
        const std::vector<std::string> expected = strings.empty() ? std::vector<std::string>{""} : strings;
        require(TXTRecord::decode(*encoded) == expected,
                "the strings of a record are read as they were written");
    }
    return 0;
}

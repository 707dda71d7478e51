// SRV records as they are on the wire: what is accepted has exactly one form, and it is the input.

#include <string>

#include "dns-sd/SRVRecord.h"
#include "fuzz/Fuzz.h"

using namespace quillbay::dnssd;
using quillbay::fuzz::require;

namespace {

void appendNumber(std::string& wire, std::uint16_t number) {
    wire += static_cast<char>(number >> 8);
    wire += static_cast<char>(number & 0xFF);
}

std::string wireForm(const SRVRecord& record) {
    std::string wire;
    appendNumber(wire, record.priority);
    appendNumber(wire, record.weight);
    appendNumber(wire, record.port);
    for (const std::string& label : record.target) {
        wire += static_cast<char>(label.size());
        wire += label;
    }
    wire += '\0';
    return wire;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = quillbay::fuzz::textOf(data, size);
    const auto record = SRVRecord::decode(bytes);
    if (!record) return 0;
    for (const std::string& label : record->target) {
        require(!label.empty() && label.size() <= 63, "a label has 1 to 63 bytes");
    }
    require(wireForm(*record) == bytes, "what was accepted is exactly the input");
    require(bytes.size() <= 6 + SRVRecord::maximumNameBytes, "no longer name is accepted");
    return 0;
}

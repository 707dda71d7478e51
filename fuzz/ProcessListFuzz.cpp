// The list of processes: command lines are anybody's choice, and what is found in them gets a signal.

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "bridge/ProcessList.h"
#include "fuzz/Fuzz.h"
#include "platform/Utf8.h"

using namespace quillbay;
using fuzz::require;

namespace {

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

bool everyLine(std::string_view /*line*/) {
    return true;
}

/// The decimal number in front, read by hand; 0 where there is none that a process can have.
long frontNumber(std::string_view line) {
    long number = 0;
    const std::size_t space = std::min(line.find(' '), line.size());
    const bool sign = line.starts_with('+');
    if (space == line.size() || space == (sign ? 1U : 0U)) return 0;
    for (const char digit : line.substr(sign ? 1 : 0, space - (sign ? 1 : 0))) {
        if (digit < '0' || digit > '9') return 0;
        number = number * 10 + (digit - '0');
        if (number > 2147483647L) return 0;
    }
    return number;
}

void checkWholeAndParts(std::string_view list, std::size_t cut) {
    const std::string_view front = list.substr(0, cut);
    const std::string_view back = list.substr(cut);
    if (!isValidUtf8(front) || !isValidUtf8(back)) return;
    const std::string whole = std::string(front) + "\n" + std::string(back);
    std::vector<std::int32_t> expected = ProcessList::proxyRegistrations(front, everyLine);
    const std::vector<std::int32_t> ofBack = ProcessList::proxyRegistrations(back, everyLine);
    expected.insert(expected.end(), ofBack.begin(), ofBack.end());
    require(ProcessList::proxyRegistrations(whole, everyLine) == expected, "each line counts for itself");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view list = fuzz::textOf(data, size);

    std::vector<std::int32_t> expected;
    const auto found = ProcessList::proxyRegistrations(list, [&](std::string_view line) {
        require(contains(line, "dns-sd") && contains(line, "-P"), "only registrations are asked about");
        require(!line.starts_with(' ') && !line.ends_with(' '), "a line has no blanks around it");
        require(!contains(line, "\n"), "a line is one line");
        // By the content, so that both answers occur.
        const bool wanted = line.size() % 4 != 0;
        const long number = frontNumber(line);
        if (wanted && number > 0) expected.push_back(static_cast<std::int32_t>(number));
        const auto id = ProcessList::processID(line);
        require(id.value_or(0) == number, "the id is the number in front");
        return wanted;
    });
    require(found == expected, "exactly the wanted ones are found, in order");
    if (!isValidUtf8(list)) require(found.empty(), "nothing is found in what is not text");
    for (const std::int32_t id : found)
        require(id > 0, "no group of processes is ever signalled");

    checkWholeAndParts(list, size / 2);
    return 0;
}

// The one question on the local network and what comes back: anybody there can answer with anything.

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "bridge/MulticastQuery.h"
#include "fuzz/Fuzz.h"

using namespace quillbay;
using fuzz::require;

namespace {

void checkAnswer(std::span<const std::uint8_t> message, std::uint16_t transactionID) {
    const bool answer = isMulticastAnswer(message, transactionID);
    const bool expected = message.size() >= 12 && message[0] * 256 + message[1] == transactionID &&
                          message[2] >= 128 && message[6] + message[7] > 0;
    require(answer == expected, "an answer is a response with our id and at least one record");
    if (answer) {
        const auto other = static_cast<std::uint16_t>(transactionID ^ 1U);
        require(!isMulticastAnswer(message, other), "an answer is to one question only");
        require(!isMulticastAnswer(message.first(11), transactionID), "half a header is no answer");
    }
}

/// The name in a question, with a dot between the labels.
std::string nameIn(const std::vector<std::uint8_t>& query) {
    std::string name;
    std::size_t at = 12;
    while (at < query.size() && query[at] != 0) {
        const std::size_t length = query[at];
        require(length <= 63 && at + 1 + length < query.size(), "a label lies inside the message");
        if (!name.empty()) name += '.';
        name.append(query.begin() + static_cast<std::ptrdiff_t>(at + 1),
                    query.begin() + static_cast<std::ptrdiff_t>(at + 1 + length));
        at += 1 + length;
    }
    require(at + 5 == query.size(), "type and class follow the name, and nothing else");
    return name;
}

void checkQuery(const std::string& host, std::uint16_t transactionID) {
    const auto query = makeMulticastQuery(host, transactionID);
    if (!query) return;
    require((*query)[0] * 256 + (*query)[1] == transactionID, "the question carries its id");
    require(!isMulticastAnswer(*query, transactionID), "a question is no answer to itself");
    const std::string name = nameIn(*query);
    require(makeMulticastQuery(name + ".", transactionID) == query || name.empty(),
            "the name in the question asks the same question");
    std::string capitals = name;
    std::transform(capitals.begin(), capitals.end(), capitals.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    require(makeMulticastQuery(capitals, transactionID) == query || name.empty(),
            "letter case makes no difference");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const auto transactionID = static_cast<std::uint16_t>(data[0] * 256 + data[1]);
    // The message begins with the id, as a real one does; most other ids would only ever be refused.
    checkAnswer({data, size}, transactionID);
    checkAnswer({data + 1, size - 1}, transactionID);
    checkQuery(std::string(fuzz::textOf(data + 2, size - 2)), transactionID);
    return 0;
}

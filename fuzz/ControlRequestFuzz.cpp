// Requests to the control socket: whatever a client of the same user writes. The folder and the peer's user
// id keep others out, but a faulty script must not be able to do harm either.

#include <string>
#include <string_view>
#include <variant>

#include "control/ControlDocuments.h"
#include "control/ControlRequest.h"
#include "fuzz/Fuzz.h"
#include "platform/JSONValue.h"
#include "platform/Utf8.h"

using namespace quillbay;
using fuzz::require;

namespace {

void checkText(const std::string& text) {
    require(isValidUtf8(text), "an argument is text");
}

struct CheckRequest {
    void operator()(const control::Status&) const {}
    void operator()(const control::Phones&) const {}
    void operator()(const control::Providers&) const {}
    void operator()(const control::Log&) const {}
    void operator()(const control::Settings&) const {}
    void operator()(const control::Peers& peers) const { checkText(peers.provider); }
    void operator()(const control::Start& start) const { checkText(start.profile); }
    void operator()(const control::Stop& stop) const { checkText(stop.profile); }
    void operator()(const control::Scan& scan) const { checkText(scan.profile); }
    void operator()(const control::Remove& remove) const { checkText(remove.profile); }
    void operator()(const control::Rename& rename) const {
        checkText(rename.profile);
        checkText(rename.name);
    }
    void operator()(const control::Pair& pair) const {
        require(pair.peer.has_value() != pair.address.has_value(), "a phone is reached in one way");
        require(!pair.peer || pair.provider, "a peer has a provider");
    }
    void operator()(const control::Report& report) const {
        require(report.to.is_absolute(), "a report goes to one place");
        require(report.to.native().find('\0') == std::string::npos, "a path ends where it seems to");
    }
    void operator()(const control::Activate& activate) const { checkText(activate.token.value_or("")); }
};

/// The document of a refusal is one line and reads back as it was written.
void checkRefusal(const std::string& sentence) {
    require(!sentence.empty() && isValidUtf8(sentence), "a refusal is a sentence");
    const std::string document = control::errorDocument(sentence);
    require(document.find('\n') == document.size() - 1, "a document is one line");
    const JSONValue read = JSONValue::parse(document);
    require(read.requiredMember("error").string("error") == sentence, "the sentence comes through whole");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view line = fuzz::textOf(data, size);
    try {
        const ControlRequest request = parseControlRequest(line);
        require(isValidUtf8(line), "what is not text is no request");
        std::visit(CheckRequest{}, request);
        require(parseControlRequest(line) == request, "a request means the same each time");
    } catch (const RefusedRequest& refusal) {
        checkRefusal(refusal.what());
    }
    return 0;
}

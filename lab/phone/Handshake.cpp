#include "phone/Handshake.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace quillbay::lab {

namespace {

using Json = nlohmann::json;

constexpr std::string_view magic = "RPPairing";
constexpr std::size_t headerBytes = magic.size() + 2;
constexpr std::size_t correlationCharacters = 6;

std::string frame(const std::string& body) {
    std::string bytes(magic);
    bytes += static_cast<char>(body.size() >> 8);
    bytes += static_cast<char>(body.size() & 0xFF);
    return bytes + body;
}

bool isCorrelationIdentifier(const std::string& text) {
    return text.size() == correlationCharacters && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
           });
}

/// The member at a path; null when anything on the way is missing or no object.
Json at(const Json& document, const char* path) {
    const Json::json_pointer pointer(path);
    return document.contains(pointer) ? document.at(pointer) : Json();
}

}  // namespace

void FrameReader::append(std::string_view bytes) {
    if (!broken_) unread_ += bytes;
}

std::optional<std::string> FrameReader::next() {
    const auto known = std::min(unread_.size(), magic.size());
    if (unread_.compare(0, known, magic, 0, known) != 0) {
        broken_ = true;
        unread_.clear();
    }
    if (broken_ || unread_.size() < headerBytes) return std::nullopt;
    const auto high = static_cast<unsigned char>(unread_[magic.size()]);
    const auto low = static_cast<unsigned char>(unread_[magic.size() + 1]);
    const std::size_t length = static_cast<std::size_t>(high) * 256 + low;
    if (unread_.size() < headerBytes + length) return std::nullopt;
    std::string body = unread_.substr(headerBytes, length);
    unread_.erase(0, headerBytes + length);
    return body;
}

std::optional<HandshakeRequest> parseHandshakeRequest(std::string_view body, std::string& problem) {
    const Json document = Json::parse(body, nullptr, false);
    const auto refuse = [&problem](const char* what) {
        problem = what;
        return std::nullopt;
    };
    if (!document.is_object()) return refuse("body");
    if (at(document, "/originatedBy") != "host") return refuse("originatedBy");
    if (at(document, "/sequenceNumber") != 0) return refuse("sequenceNumber");
    const Json handshake = at(document, "/message/plain/_0/request/_0/handshake/_0");
    if (!handshake.is_object()) return refuse("message");
    if (at(handshake, "/hostOptions/attemptPairVerify") != true) return refuse("attemptPairVerify");
    const Json version = at(handshake, "/wireProtocolVersion");
    if (!version.is_number_integer()) return refuse("wireProtocolVersion");
    const Json identifier = at(handshake, "/correlationIdentifier/value");
    if (!identifier.is_string() || !isCorrelationIdentifier(identifier.get<std::string>())) {
        return refuse("correlationIdentifier");
    }
    return HandshakeRequest{version.get<int>(), identifier.get<std::string>()};
}

std::string handshakeReply(const HandshakeRequest& request) {
    const Json handshake = {{"wireProtocolVersion", request.wireProtocolVersion},
                            {"correlationIdentifier", {{"value", request.correlationIdentifier}}},
                            {"deviceOptions", {{"allowsPairVerify", true}}}};
    const Json body = {
        {"originatedBy", "device"},
        {"sequenceNumber", 0},
        {"message", {{"plain", {{"_0", {{"response", {{"_1", {{"handshake", {{"_0", handshake}}}}}}}}}}}}}};
    return frame(body.dump());
}

}  // namespace quillbay::lab

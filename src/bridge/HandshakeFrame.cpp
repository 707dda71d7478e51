#include "bridge/HandshakeFrame.h"

#include <cstddef>
#include <limits>
#include <nlohmann/json.hpp>
#include <string_view>

namespace quillbay {

namespace {

constexpr std::string_view magic = "RPPairing";

nlohmann::json handshakeBody(std::int64_t wireProtocolVersion, const std::string& correlation) {
    using nlohmann::json;
    json handshake = json::object();
    handshake["hostOptions"]["attemptPairVerify"] = true;
    handshake["wireProtocolVersion"] = wireProtocolVersion;
    handshake["correlationIdentifier"]["value"] = correlation;

    json body = json::object();
    body["originatedBy"] = "host";
    body["sequenceNumber"] = 0;
    body["message"]["plain"]["_0"]["request"]["_0"]["handshake"]["_0"] = std::move(handshake);
    return body;
}

}  // namespace

std::string correlationValue(RandomSource& random) {
    constexpr std::string_view alphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    constexpr std::size_t length = 6;
    std::string value;
    for (std::size_t i = 0; i < length; ++i)
        value += alphabet[random.uniform(0, static_cast<std::uint32_t>(alphabet.size() - 1))];
    return value;
}

std::vector<std::uint8_t> handshakeFrame(std::int64_t wireProtocolVersion, const std::string& correlation) {
    std::string body;
    try {
        body = handshakeBody(wireProtocolVersion, correlation).dump();
    } catch (const nlohmann::json::exception&) {
        // Text that is not UTF-8: an empty frame is how the caller learns of it.
        return {};
    }
    if (body.size() > std::numeric_limits<std::uint16_t>::max()) return {};

    std::vector<std::uint8_t> frame(magic.begin(), magic.end());
    frame.push_back(static_cast<std::uint8_t>(body.size() >> 8U));
    frame.push_back(static_cast<std::uint8_t>(body.size() & 0xFFU));
    frame.insert(frame.end(), body.begin(), body.end());
    return frame;
}

}  // namespace quillbay

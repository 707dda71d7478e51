#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillbay::lab {

// The pairing handshake as the phone's side of it. A frame is
//
//     offset  bytes   field
//     0       9       the ASCII bytes "RPPairing"
//     9       2       length of the body, big-endian
//     11      length  body, a JSON object

/// What a host asked for in its first frame.
struct HandshakeRequest {
    int wireProtocolVersion = 0;
    std::string correlationIdentifier;
};

/// Cuts a stream of bytes into frames.
class FrameReader {
 public:
    void append(std::string_view bytes);

    /// The body of the next whole frame; nothing while it is unfinished or once the stream is broken.
    std::optional<std::string> next();

    /// True once the stream has held something that is no frame; it stays so.
    [[nodiscard]] bool broken() const { return broken_; }

 private:
    std::string unread_;
    bool broken_ = false;
};

/// The request in a frame's body. Nothing when any part of it is missing, mistyped or has another value than
/// a host sends; `problem` then names the first such part.
std::optional<HandshakeRequest> parseHandshakeRequest(std::string_view body, std::string& problem);

/// The whole frame with which a phone answers.
std::string handshakeReply(const HandshakeRequest& request);

}  // namespace quillbay::lab

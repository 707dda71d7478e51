#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/RandomSource.h"

namespace quillbay {

/// A fresh value by which the phone tells requests apart: 6 characters, each a letter or a digit.
std::string correlationValue(RandomSource& random);

/// The request that makes a RemotePairing control channel answer:
///
///     offset  size    field
///     0       9       "RPPairing"
///     9       2       length of the body in bytes, big-endian
///     11      length  body: a JSON object in UTF-8
///
/// Empty when the body does not fit its length field or cannot be written as JSON.
std::vector<std::uint8_t> handshakeFrame(std::int64_t wireProtocolVersion, const std::string& correlation);

}  // namespace quillbay

#pragma once

#include <chrono>
#include <string>

#include "platform/StopToken.h"
#include "providers/MeshVPNProviderError.h"

namespace quillbay {

/// A client answers in well under a second; one that waits for its daemon for longer than this will not
/// answer at all.
inline constexpr std::chrono::seconds clientTimeLimit{15};

/// Runs `binaryPath status --json` and returns what it printed. Blocks until the client has ended, `token` is
/// stopped or `limit` has passed; the client is ended in the last two cases. Throws MeshVPNProviderError:
/// `processFailed` for a client that fails, cannot be launched or is ended here, `decodingFailed` for one
/// that prints more than any network's status.
std::string readClientStatus(const std::string& binaryPath, const StopToken& token,
                             std::chrono::seconds limit = clientTimeLimit);

}  // namespace quillbay

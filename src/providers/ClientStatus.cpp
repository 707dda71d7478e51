#include "providers/ClientStatus.h"

#include <fmt/format.h>

#include <optional>
#include <system_error>
#include <utility>

#include "platform/ChildProcess.h"
#include "platform/PrintedError.h"
#include "platform/Utf8.h"

namespace quillbay {

namespace {

// A network of 10,000 peers takes some 10 MiB.
constexpr std::size_t outputLimitBytes = std::size_t{64} * 1024 * 1024;

// What a client says about a failure is a line or two; the screen could not show more than this.
constexpr std::size_t errorTextLimitBytes = std::size_t{64} * 1024;

std::string errorText(const std::string& standardError) {
    if (standardError.size() > errorTextLimitBytes) {
        // The decoder leaves out the character that the cut went through.
        const std::string_view beginning = std::string_view(standardError).substr(0, errorTextLimitBytes);
        return Utf8ChunkDecoder().decode(beginning).value_or("");
    }
    return isValidUtf8(standardError) ? standardError : "";
}

std::optional<ChildResult> run(const std::string& binaryPath, const StopToken& token,
                               std::chrono::seconds limit) {
    const ChildCommand command{.executable = binaryPath,
                               .arguments = {"status", "--json"},
                               .standardOutput = ChildCommand::Output::pipe,
                               .standardError = ChildCommand::Output::pipe};
    try {
        return runToEnd(command, outputLimitBytes, token, limit);
    } catch (const std::system_error& error) {
        throw MeshVPNProviderError::processFailed(MeshVPNProviderError::noExitStatus, printedError(error));
    }
}

}  // namespace

std::string readClientStatus(const std::string& binaryPath, const StopToken& token,
                             std::chrono::seconds limit) {
    std::optional<ChildResult> result = run(binaryPath, token, limit);
    if (!result) {
        throw MeshVPNProviderError::processFailed(
            MeshVPNProviderError::noExitStatus,
            token.stopRequested() ? "no longer wanted"
                                  : fmt::format("timed out after {} seconds", limit.count()));
    }
    if (!result->status.success()) {
        throw MeshVPNProviderError::processFailed(result->status.code, errorText(result->standardError));
    }
    if (result->standardOutput.size() >= outputLimitBytes && result->truncated) {
        throw MeshVPNProviderError::decodingFailed("more than 64 MiB of output");
    }
    return std::move(result->standardOutput);
}

}  // namespace quillbay

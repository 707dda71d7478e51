#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace quillbay {

/// Why a provider could not list its peers. `what()` is the sentence to show.
class MeshVPNProviderError : public std::runtime_error {
 public:
    enum class Case { processFailed, decodingFailed, binaryNotFound };

    /// The status of a client that did not end by itself or never started. No exit status is negative.
    static constexpr std::int32_t noExitStatus = -1;

    /// The client exited with `status`, or has `noExitStatus`; `standardError` is what it said, or why there
    /// is none.
    static MeshVPNProviderError processFailed(std::int32_t status, std::string standardError);

    /// The client's document could not be read; `underlying` says why.
    static MeshVPNProviderError decodingFailed(const std::string& underlying);

    /// There is no executable file at the client's path.
    static MeshVPNProviderError binaryNotFound();

    [[nodiscard]] Case errorCase() const { return case_; }

    /// Both only mean something for `processFailed`.
    [[nodiscard]] std::int32_t status() const { return status_; }
    [[nodiscard]] const std::string& standardError() const { return standardError_; }

 private:
    MeshVPNProviderError(Case errorCase, const std::string& description, std::int32_t status = 0,
                         std::string standardError = {});
    Case case_;
    std::int32_t status_;
    std::string standardError_;
};

}  // namespace quillbay

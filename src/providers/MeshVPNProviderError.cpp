#include "providers/MeshVPNProviderError.h"

#include <utility>

namespace quillbay {

MeshVPNProviderError::MeshVPNProviderError(Case errorCase, const std::string& description,
                                           std::int32_t status, std::string standardError)
    : std::runtime_error(description),
      case_(errorCase),
      status_(status),
      standardError_(std::move(standardError)) {}

MeshVPNProviderError MeshVPNProviderError::processFailed(std::int32_t status, std::string standardError) {
    std::string description = "CLI exited with status " + std::to_string(status);
    if (!standardError.empty()) description += ": " + standardError;
    return {Case::processFailed, description, status, std::move(standardError)};
}

MeshVPNProviderError MeshVPNProviderError::decodingFailed(const std::string& underlying) {
    return {Case::decodingFailed, "Couldn't parse the CLI's output: " + underlying};
}

MeshVPNProviderError MeshVPNProviderError::binaryNotFound() {
    return {Case::binaryNotFound, "CLI not found at the configured path — check the path in Settings."};
}

}  // namespace quillbay

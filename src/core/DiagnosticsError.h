#pragma once

#include <stdexcept>
#include <string>

namespace quillbay {

/// A report that could not be made; `what()` is the description, for people to read.
class DiagnosticsError : public std::runtime_error {
 public:
    static constexpr const char* domain = "Quillbay.Diagnostics";

    DiagnosticsError(int code, const std::string& description)
        : std::runtime_error(description), code_(code) {}

    /// The exit status of the tool that failed; -1 where none did.
    [[nodiscard]] int code() const { return code_; }

 private:
    int code_;
};

}  // namespace quillbay

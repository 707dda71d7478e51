#pragma once

#include <exception>
#include <optional>
#include <stdexcept>
#include <string>

namespace quillbay {

/// Why `devicectl` gave no devices.
class DeviceCtlListerError final : public std::runtime_error {
 public:
    enum class Kind {
        /// The tool could not be launched, ended with a failure, or was abandoned.
        processFailed,
        /// What it wrote could not be read or decoded.
        decodingFailed,
    };

    /// The tool ended with this exit status.
    static DeviceCtlListerError processFailed(int status);
    /// The tool could not be launched; nothing for `launchError` when it was abandoned instead.
    static DeviceCtlListerError processFailed(std::exception_ptr launchError);
    static DeviceCtlListerError decodingFailed();

    [[nodiscard]] Kind kind() const { return kind_; }
    /// The exit status; nothing when the tool did not run to its end.
    [[nodiscard]] std::optional<int> status() const { return status_; }
    [[nodiscard]] std::exception_ptr launchError() const { return launchError_; }

 private:
    DeviceCtlListerError(Kind kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}

    Kind kind_;
    std::optional<int> status_;
    std::exception_ptr launchError_;
};

}  // namespace quillbay

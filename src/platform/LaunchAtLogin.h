#pragma once

#include <filesystem>
#include <memory>

namespace quillbay {

/// Whether this program starts, without a window, when the user logs in. Main thread.
class LaunchAtLogin {
 public:
    virtual ~LaunchAtLogin() = default;

    LaunchAtLogin() = default;
    LaunchAtLogin(const LaunchAtLogin&) = delete;
    LaunchAtLogin& operator=(const LaunchAtLogin&) = delete;

    /// As the desktop has it now.
    [[nodiscard]] virtual bool isEnabled() const = 0;

    // Both throw std::system_error or std::runtime_error, with a sentence, and change nothing then.
    virtual void enable() = 0;
    virtual void disable() = 0;

    /// This computer's, for the program at the absolute path `program`.
    static std::unique_ptr<LaunchAtLogin> system(const std::filesystem::path& program);
};

}  // namespace quillbay

#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/LaunchAtLogin.h"

namespace quillbay {

/// The file by which the user's desktop starts a program at login: a desktop entry in the user's autostart
/// folder (freedesktop.org: Desktop Application Autostart 0.5, Desktop Entry 1.4).
class AutostartEntry final : public LaunchAtLogin {
 public:
    /// `configuration` is the user's directory for settings, as `$XDG_CONFIG_HOME` names it.
    AutostartEntry(const std::filesystem::path& program, const std::filesystem::path& configuration);

    /// An entry that the user or the desktop has switched off, or that starts another program than this one
    /// (which lay elsewhere, perhaps, when the entry was written), is none.
    [[nodiscard]] bool isEnabled() const override;
    void enable() override;
    void disable() override;

    [[nodiscard]] const std::filesystem::path& file() const { return file_; }

 private:
    std::string program_;
    std::filesystem::path file_;
};

/// The content of an entry that starts `program` (an absolute path) without a window.
std::string autostartEntry(std::string_view program);

/// Whether the desktop starts `program` because of an entry with this content.
bool autostarts(std::string_view entry, std::string_view program);

}  // namespace quillbay

#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "platform/DesktopServices.h"

namespace quillbay {

/// Reaches the desktop over the session bus, and where that has nobody for it, through the `xdg` tools.
///
///     compose   the portal's Email
///               else `xdg-email`
///     reveal    FileManager1.ShowItems
///               else the portal's OpenURI.OpenDirectory
///               else `xdg-open` on the folder
///     open      the portal's OpenURI
///               else `xdg-open`
class LinuxDesktopServices final : public DesktopServices {
 public:
    /// How the desktop is reached and how long each step may take.
    struct Surroundings {
        /// The session bus; without an address, that of the environment.
        std::optional<std::string> busAddress = std::nullopt;
        /// Waiting for an answer on the bus: services are started at need, which takes a few seconds.
        std::chrono::milliseconds call = std::chrono::seconds(5);
        /// Waiting for what became of a request to the portal.
        std::chrono::milliseconds response = std::chrono::seconds(60);
        /// Waiting for a tool, which fails at once or not at all.
        std::chrono::milliseconds tool = std::chrono::seconds(10);
        HostTools::Tool opener = {};
        HostTools::Tool mailComposer = {};
    };

    LinuxDesktopServices(MainQueue& mainQueue, BackgroundWork& background, Surroundings surroundings);

    void composeMail(MailDraft draft, std::function<void(MailAnswer)> done) override;
    void revealFile(std::filesystem::path file, Done done) override;
    void openURL(std::string url, Done done) override;

 private:
    MainQueue& mainQueue_;
    BackgroundWork& background_;
    Surroundings surroundings_;
};

/// The file's `file:` address (RFC 8089): every byte but the unreserved ones and "/" as "%XX".
std::string fileURI(const std::filesystem::path& file);

}  // namespace quillbay

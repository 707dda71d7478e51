#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "platform/DesktopServices.h"
#include "platform/linux/SessionBus.h"

namespace quillbay {

/// What came of asking one of the portal's interfaces.
enum class PortalAnswer {
    /// It did it, or the user cancelled it.
    done,
    refused,
    /// There is no such interface, or it does not answer.
    absent,
};

/// The desktop portal of the user's session (XDG Desktop Portal documentation: the interfaces Email and
/// OpenURI of version 1 and later, and Request). A call is answered with the path of a request, and a signal
/// of that request, `Response(u, a{sv})`, tells later what came of it: 0 done, 1 cancelled by the user, 2
/// neither.
///
/// Used on one thread, and blocks. No member throws.
class DesktopPortal {
 public:
    struct Limits {
        /// For the answer to a call; a portal that must be started first takes a few seconds.
        std::chrono::milliseconds call;
        /// For the response to a request, which may stand behind a question to the user.
        std::chrono::milliseconds response;
    };

    /// `bus` must outlive the portal.
    DesktopPortal(SessionBus& bus, Limits limits);

    /// Opens the mail composer: the recipient in `addresses` where the interface has it (version 3), else in
    /// `address`; the attachment as an open descriptor in `attachment_fds`.
    PortalAnswer composeMail(const MailDraft& draft);

    /// Opens an address that is not a file's.
    PortalAnswer openURI(const std::string& uri);

    /// Shows the folder of `file` (version 3).
    PortalAnswer openFolderOf(const std::filesystem::path& file);

 private:
    [[nodiscard]] std::optional<std::uint32_t> version(const char* interface);
    [[nodiscard]] BusMessage newRequest(const char* interface, const char* member);
    void watchResponses();
    void noteResponse(sd_bus_message* message);
    PortalAnswer finish(const BusMessage& request);

    SessionBus& bus_;
    Limits limits_;
    bool watching_ = false;
    std::map<std::string, std::uint32_t> responses_;
};

}  // namespace quillbay

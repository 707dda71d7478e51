#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/BackgroundWork.h"
#include "platform/HostTools.h"
#include "platform/MainQueue.h"

namespace quillbay {

/// A message for the user to complete and send. All texts are UTF-8.
struct MailDraft {
    std::string recipient;
    std::string subject;
    std::string body;
    /// A file to attach, by its absolute path.
    std::optional<std::filesystem::path> attachment = std::nullopt;
};

/// What became of a draft.
enum class MailAnswer {
    /// The user has it, or has closed it again.
    opened,
    /// There is a mail composer, and it did not take the draft.
    refused,
    /// There is no mail composer.
    unavailable,
};

/// What the desktop does for programs. Called on the main queue, never blocks, and answers there, once, a
/// little later. A desktop that does not answer counts as one that cannot do it, after some seconds; one that
/// has taken a request and does not say what became of it counts as one that did it, after a minute. When
/// the background work ends, answers that are still due do not come any more.
class DesktopServices {
 public:
    virtual ~DesktopServices() = default;

    DesktopServices() = default;
    DesktopServices(const DesktopServices&) = delete;
    DesktopServices& operator=(const DesktopServices&) = delete;

    /// Opens the mail composer with the draft. An attachment that cannot be read is one that is refused.
    virtual void composeMail(MailDraft draft, std::function<void(MailAnswer)> done) = 0;

    /// Whether the desktop took the request.
    using Done = std::function<void(bool opened)>;

    /// Shows the file, by its absolute path, in the file browser: selected where that can be, else its
    /// folder.
    virtual void revealFile(std::filesystem::path file, Done done) = 0;

    /// Opens the address with the program that the user has chosen for such addresses.
    virtual void openURL(std::string url, Done done) = 0;

    /// This computer's. The queue and the background work must outlive it.
    static std::unique_ptr<DesktopServices> system(MainQueue& mainQueue, BackgroundWork& background,
                                                   const HostTools& tools);
};

}  // namespace quillbay

#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillbay::fakes {

/// A desktop on a bus: the portal's Email and OpenURI and the file manager, on a thread of its own. It
/// records what it is asked for and answers as the test says.
class TestDesktop {
 public:
    /// How the portal answers a request.
    enum class Manner {
        takes,
        /// Response 1.
        isCancelled,
        /// Response 2.
        refuses,
        refusesAttachments,
        /// A D-Bus error in place of a request.
        failsWithAttachments,
        /// Takes calls and says nothing.
        isSilent,
        /// Answers calls, and sends no response.
        neverResponds,
        /// The response is sent before the answer to the call.
        respondsFirst,
    };

    /// What is there; version 0 is an interface that is missing.
    struct Services {
        std::uint32_t emailVersion = 0;
        std::uint32_t openVersion = 0;
        bool fileManager = false;
        Manner manner = Manner::takes;
    };

    struct Mail {
        std::vector<std::string> addresses;
        std::string address;
        std::string subject;
        std::string body;
        /// What the descriptor gave, and the permissions of the file behind it.
        std::optional<std::string> attachment;
        mode_t attachmentMode = 0;
    };

    /// Everything that was asked for, in order of its kind.
    struct Record {
        std::vector<Mail> mails;
        std::vector<std::string> openedURIs;
        /// The files whose folders were asked for, as the descriptors tell.
        std::vector<std::string> openedFolders;
        std::vector<std::string> shownItems;
    };

    TestDesktop(const std::string& busAddress, Services services);
    ~TestDesktop();
    TestDesktop(const TestDesktop&) = delete;
    TestDesktop& operator=(const TestDesktop&) = delete;

    [[nodiscard]] Record record() const;

 private:
    class Connection;
    std::unique_ptr<Connection> connection_;
};

}  // namespace quillbay::fakes

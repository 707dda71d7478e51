#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace quillbay {
class ChildProcess;
}

namespace quillbay::fakes {

/// A session bus of the test's own: a real daemon with its socket in the test's folder.
class PrivateBus {
 public:
    /// `folder` must exist and be the test's own. The daemon starts `activated` for the name of the same
    /// place: "NAME=EXECUTABLE", or nothing.
    explicit PrivateBus(const std::filesystem::path& folder, const std::string& activated = "");
    /// Ends the daemon.
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    [[nodiscard]] const std::string& address() const { return address_; }

 private:
    std::string address_;
    std::unique_ptr<ChildProcess> daemon_;
};

}  // namespace quillbay::fakes

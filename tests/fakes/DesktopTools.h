#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/HostTools.h"

namespace quillbay::fakes {

/// Stand-ins for the tools by which a program reaches the desktop: real programs that record their calls and
/// end as a test says. Scripts are written before the test starts any other child.
class DesktopTools {
 public:
    /// How a tool answers.
    enum class Manner { succeeds, fails, failsWithAttachment, staysRunning };

    /// `folder` must exist and be the test's own. Both tools are missing at first.
    explicit DesktopTools(std::filesystem::path folder) : folder_(std::move(folder)) {}
    ~DesktopTools() { endAll(); }
    DesktopTools(const DesktopTools&) = delete;
    DesktopTools& operator=(const DesktopTools&) = delete;

    /// Ends what stayed running.
    void endAll() const;

    void installOpener(Manner manner) const { install("xdg-open", manner); }
    void installMailComposer(Manner manner) const { install("xdg-email", manner); }

    [[nodiscard]] HostTools::Tool opener() const { return {(folder_ / "xdg-open").string(), {}}; }
    [[nodiscard]] HostTools::Tool mailComposer() const { return {(folder_ / "xdg-email").string(), {}}; }

    /// The arguments of every call so far.
    [[nodiscard]] std::vector<std::vector<std::string>> opened() const { return calls("xdg-open"); }
    [[nodiscard]] std::vector<std::vector<std::string>> mails() const { return calls("xdg-email"); }

 private:
    void install(const std::string& name, Manner manner) const;
    [[nodiscard]] std::vector<std::vector<std::string>> calls(const std::string& name) const;
    std::filesystem::path folder_;
};

}  // namespace quillbay::fakes

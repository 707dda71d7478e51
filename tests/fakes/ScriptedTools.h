#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/HostTools.h"

namespace quillbay::fakes {

/// Stand-ins for the host's tools: real programs (shell scripts) that say what a test tells them to and
/// record how they were called. They are read anew at every launch, so a test can change its mind between
/// two.
class ScriptedTools {
 public:
    /// `folder` must exist and be the test's own.
    explicit ScriptedTools(std::filesystem::path folder);

    [[nodiscard]] HostTools table() const;

    /// The tunnel states that `devicectl` answers for `host`, one per run; the last one is repeated.
    void setTunnelStates(const std::string& host, const std::vector<std::string>& states) const;
    /// `devicectl` fails, as where the developer tools are missing.
    void failDeviceCtl() const;
    /// How often `devicectl` ran.
    [[nodiscard]] int deviceCtlRuns() const;

    /// What `ps` prints.
    void setProcessList(const std::string& text) const;

    /// The arguments of every `dns-sd` launched so far, zone dumps aside, in order.
    [[nodiscard]] std::vector<std::vector<std::string>> registrations() const;
    /// How many of these are running now.
    [[nodiscard]] int runningRegistrations() const;

    /// Text that every `dns-sd -Z` prints: those that run now, and later ones at their start.
    void appendZoneText(const std::string& text) const;
    /// Later ones begin with nothing.
    void clearZoneText() const;
    /// The arguments of every `dns-sd -Z` launched so far, in order.
    [[nodiscard]] std::vector<std::vector<std::string>> zoneDumps() const;
    [[nodiscard]] int runningZoneDumps() const;
    /// Ends the running ones as a crash would.
    void killZoneDumps() const;

    /// `dns-sd` cannot be launched.
    void removeDNSSD() const;
    void removeLogFollower() const;

    /// A line for everybody who follows the system log.
    void appendLogLine(const std::string& line) const;
    /// Whether a log follower is running now.
    [[nodiscard]] bool logIsFollowed() const;

 private:
    void script(const std::string& name, const std::string& body) const;
    [[nodiscard]] std::vector<std::vector<std::string>> recorded(const std::string& name) const;
    /// The process ids of the tools that run.
    [[nodiscard]] std::vector<pid_t> running(const std::string& prefix) const;
    [[nodiscard]] int countRunning(const std::string& prefix) const;
    std::filesystem::path folder_;
};

}  // namespace quillbay::fakes

#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "platform/Clock.h"

namespace quillbay {

/// The host names under which this computer's own proxy records are, or may still be, on the network. The
/// bridges tell it on the main thread; the capture asks on its queue. All members may be called on any
/// thread.
///
/// A record outlives its withdrawal: for one second after the goodbye, everybody who begins to look is shown
/// it once more (RFC 6762, section 10.1), this computer included. A capture that begins then would take it
/// for a phone, so until `withdrawalTime` has passed a withdrawn host is an own one as before.
class ProxyHosts {
 public:
    /// From the end of an announcement: the goodbye leaves within 0.2 s, even that of a tool that had to be
    /// killed (seen with Avahi), and the second follows. The rest is for a busy computer.
    static constexpr std::chrono::seconds withdrawalTime{2};

    /// `clock` must outlive it.
    explicit ProxyHosts(const Clock& clock);

    /// `owner` (a profile's id) announces `host` from now on.
    void insert(const std::string& owner, const std::string& host);
    /// `owner` announces nothing any more.
    void remove(const std::string& owner);

    /// In lower case.
    [[nodiscard]] std::set<std::string> all() const;

 private:
    void withdraw(const std::string& owner);

    const Clock& clock_;
    mutable std::mutex mutex_;
    std::map<std::string, std::string> hostByOwner_;
    /// Until when a host that was withdrawn still counts.
    std::map<std::string, std::chrono::steady_clock::time_point> withdrawnUntil_;
};

}  // namespace quillbay

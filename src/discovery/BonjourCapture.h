#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>

#include "discovery/CapturedBonjourService.h"
#include "platform/Host.h"

namespace quillbay {

/// Learns the Bonjour registrations of phones on the local network from a `dns-sd -Z` child: joins each
/// instance's SRV and TXT records, drops what is no real device, and reports the rest.
///
/// Owned by the coordinator, which calls `start` and `stop` on the main thread. What the child prints is read
/// on the queue "com.local.mirel.Quillbay.bonjour-capture" (one of the network threads), and all callbacks
/// are called there. They must not wait for the main thread.
///
/// What the capture itself keeps is bounded (see ZoneDumpReader.h), whatever the child prints. What its owner
/// is told is not: a child that prints without pause is read as fast as the callbacks return, and a piece of
/// what it prints, of at most 16 KiB, gives one call for each instance in it. So an owner that hands services
/// on to another thread must keep no more than the newest of each host, and not too many hosts.
///
/// A child that ends by itself, or could not be launched, is told to `onLog` and launched again after a pause
/// that doubles from one second to a minute; one that has run for a minute begins with a second again. The
/// new child prints everything that is there now, so nothing is missed for longer than the pause. (The
/// bundled tool itself outlasts a restart of the mDNS daemon; it ends when the system bus cannot be reached
/// at its start.)
class BonjourCapture {
 public:
    /// `host` must outlive the capture.
    explicit BonjourCapture(const Host& host);
    /// As `stop`.
    ~BonjourCapture();
    BonjourCapture(const BonjourCapture&) = delete;
    BonjourCapture& operator=(const BonjourCapture&) = delete;

    // Set before `start`, and not changed until `stop`; each may be empty.

    /// A service that is complete: for its SRV and TXT lines, whether or not anything changed. Several lines
    /// of one instance that are read together give one call.
    std::function<void(CapturedBonjourService)> onServiceUpdated;
    /// A line for the diagnostic log. A rejection is told once in a session, and the end of a child once
    /// until one has run for a minute.
    std::function<void(std::string)> onLog;
    /// The hosts, in lower case, of the proxy registrations that this computer runs now.
    std::function<std::set<std::string>()> activeProxyHosts;

    /// Starts a fresh session, ending one that runs. A child that cannot be launched is told to `onLog`; no
    /// service is reported then.
    void start(const std::string& serviceType, const std::string& domain);

    /// Ends the child, without waiting for it, and forgets everything learned. No callback runs after it has
    /// returned: it waits for one that is just running. May be called more than once.
    void stop();

    /// On the main thread: the child keeps ending, so that no phone can be found. True from the second one in
    /// a row that ended before it had run for three seconds, until one has.
    [[nodiscard]] bool isFailing() const;

 private:
    struct Session;
    const Host& host_;
    std::shared_ptr<Session> session_;
};

}  // namespace quillbay

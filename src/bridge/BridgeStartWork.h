#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "bridge/RemotePairingProbe.h"
#include "discovery/DeviceCtlLister.h"
#include "platform/Clock.h"
#include "profile/DeviceProfile.h"

namespace quillbay {

/// Whether the phone's host name answers on the local network now; blocks for at most the time given.
using PresenceCheck =
    std::function<bool(const std::string& host, std::chrono::milliseconds timeout, const StopToken& token)>;

/// The part of a bridge's start that blocks: it makes sure that the phone is away, and finds the port on
/// which it answers. Knows no bridge; runs once, on a background thread, and says what it found through its
/// callbacks, which it calls on that thread. Of `onFailed` and `onVerified` exactly one is called, unless the
/// token was stopped.
class BridgeStartWork {
 public:
    struct Callbacks {
        std::function<void(std::string line)> onLog;
        std::function<void(std::uint16_t port)> onDiscoveredPort;
        std::function<void(std::string message)> onFailed;
        /// `remoteHost` is the phone's address in numbers, also where the profile has a name.
        std::function<void(std::uint16_t devicePort, std::string remoteHost)> onVerified;
        /// Called when a scan begins; what it returns is asked before each probe of that scan, on any thread.
        std::function<std::function<bool()>()> beginScan;
    };

    BridgeStartWork(DeviceProfile profile, DeviceCtlLister lister, PresenceCheck presenceCheck,
                    RemotePairingProbe probe, Clock& clock, Callbacks callbacks);

    void run(bool scanIfPortStale, const StopToken& token);

 private:
    /// What a look for the phone on the local network gave.
    struct Sighting {
        bool present = false;
        std::string detail;
        int retries = 0;
    };

    [[nodiscard]] Sighting look(const StopToken& token) const;
    /// The detail of the last sighting when the phone stayed on the local network.
    [[nodiscard]] std::optional<std::string> presentAfterRetries(const StopToken& token) const;
    void scan(const StopToken& token);
    void verified(std::uint16_t devicePort, const StopToken& token);
    /// Which of the addresses of a host name it was that answered.
    [[nodiscard]] std::string answeringAddress(std::uint16_t devicePort, const StopToken& token);

    DeviceProfile profile_;
    DeviceCtlLister lister_;
    PresenceCheck presenceCheck_;
    RemotePairingProbe probe_;
    Clock& clock_;
    Callbacks callbacks_;
};

/// The wire protocol version in a captured TXT record ("ver"), 19 where there is none that can be read.
std::int64_t wireProtocolVersion(const DeviceProfile& profile);

/// The scan of all ports on which a phone's pairing daemon may listen (the IANA dynamic range), with the
/// profile's port first.
RemotePairingProbe::Scan controlChannelScan(const DeviceProfile& profile);

}  // namespace quillbay

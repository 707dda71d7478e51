#include "bridge/BridgeStartWork.h"

#include <charconv>
#include <string>
#include <utility>
#include <vector>

#include "bridge/BridgeTexts.h"
#include "bridge/HostAddresses.h"

namespace quillbay {

namespace {

// A phone that has just left takes some seconds to be noticed; a tunnel that is being set up takes longer to
// settle.
constexpr std::chrono::milliseconds pauseBetweenLooks{1500};
constexpr std::chrono::milliseconds multicastAnswerTime{1500};
constexpr int retriesWhilePresent = 3;
constexpr int retriesWhileConnecting = 9;
constexpr std::chrono::milliseconds probeTime{3000};
constexpr std::int64_t defaultWireProtocolVersion = 19;

/// The host's addresses in numbers. One that cannot be written is left out: an empty one would lead the
/// relays nowhere.
std::vector<std::string> numericAddresses(const std::string& host) {
    std::vector<std::string> texts;
    for (const HostAddress& address : resolveHost(host)) {
        std::string text = address.text();
        if (!text.empty()) texts.push_back(std::move(text));
    }
    return texts;
}

}  // namespace

std::int64_t wireProtocolVersion(const DeviceProfile& profile) {
    const auto entry = profile.txtRecord.find("ver");
    if (entry == profile.txtRecord.end()) return defaultWireProtocolVersion;
    std::string_view digits = entry->second;
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') digits.remove_prefix(1);
    std::int64_t version = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), version);
    if (error != std::errc() || end != digits.data() + digits.size()) return defaultWireProtocolVersion;
    return version;
}

RemotePairingProbe::Scan controlChannelScan(const DeviceProfile& profile) {
    RemotePairingProbe::Scan scan;
    scan.host = profile.providerIP;
    if (profile.remotePairingPort != 0) scan.preferred = profile.remotePairingPort;
    scan.wireProtocolVersion = wireProtocolVersion(profile);
    return scan;
}

BridgeStartWork::BridgeStartWork(DeviceProfile profile, DeviceCtlLister lister, PresenceCheck presenceCheck,
                                 RemotePairingProbe probe, Clock& clock, Callbacks callbacks)
    : profile_(std::move(profile)),
      lister_(std::move(lister)),
      presenceCheck_(std::move(presenceCheck)),
      probe_(probe),
      clock_(clock),
      callbacks_(std::move(callbacks)) {}

void BridgeStartWork::run(bool scanIfPortStale, const StopToken& token) {
    const std::optional<std::string> present = presentAfterRetries(token);
    if (token.stopRequested()) return;
    if (present) {
        callbacks_.onFailed(stillLiveMessage(profile_, *present));
        return;
    }

    const std::uint16_t port = profile_.remotePairingPort;
    const RemotePairingProbeResult verdict =
        probe_.probe({profile_.providerIP, port, wireProtocolVersion(profile_)}, probeTime, probeTime, token);
    if (token.stopRequested()) return;
    if (verdict == RemotePairingProbeResult::remotePairingPort) {
        verified(port, token);
        return;
    }
    callbacks_.onLog(profile_.displayName + ": " + profile_.providerIP + ":" + std::to_string(port) +
                     " did not respond to RemotePairing (" + describe(verdict) + ").");
    if (scanIfPortStale)
        scan(token);
    else
        callbacks_.onFailed(unreachableMessage(profile_, port, verdict));
}

std::optional<std::string> BridgeStartWork::presentAfterRetries(const StopToken& token) const {
    for (int looks = 0;; ++looks) {
        const Sighting sighting = look(token);
        if (token.stopRequested() || !sighting.present) return std::nullopt;
        if (looks >= sighting.retries) {
            // A tunnel that never leaves "connecting" does not say that the phone is near.
            if (sighting.detail.ends_with("tunnelState=connecting")) return std::nullopt;
            return sighting.detail;
        }
        if (!clock_.sleepFor(pauseBetweenLooks, token)) return std::nullopt;
    }
}

BridgeStartWork::Sighting BridgeStartWork::look(const StopToken& token) const {
    if (const std::optional<std::string> state = lister_.tunnelState(profile_.bonjourHost, token)) {
        const bool away = *state == "unavailable";
        return {!away, "devicectl tunnelState=" + *state,
                *state == "connecting" ? retriesWhileConnecting : retriesWhilePresent};
    }
    if (token.stopRequested()) return {};
    const bool answered = presenceCheck_(profile_.bonjourHost, multicastAnswerTime, token);
    return {answered,
            std::string("devicectl doesn't know this host, link probe=") + (answered ? "true" : "false"),
            retriesWhilePresent};
}

void BridgeStartWork::scan(const StopToken& token) {
    callbacks_.onLog(profile_.displayName + ": scanning device's current RemotePairing port (49152-65535)…");
    RemotePairingProbe::Scan wanted = controlChannelScan(profile_);
    wanted.shouldContinue = callbacks_.beginScan();
    const RemotePairingScanReport report = probe_.scanForControlChannel(wanted, token);
    if (token.stopRequested()) return;
    if (!report.port) {
        callbacks_.onFailed(noServiceMessage(profile_, report.openButSilent));
        return;
    }
    callbacks_.onLog(profile_.displayName + ": new port found → " + std::to_string(*report.port) +
                     " (profile updated)");
    callbacks_.onDiscoveredPort(*report.port);
    verified(*report.port, token);
}

void BridgeStartWork::verified(std::uint16_t devicePort, const StopToken& token) {
    std::string remoteHost = answeringAddress(devicePort, token);
    if (!token.stopRequested()) callbacks_.onVerified(devicePort, std::move(remoteHost));
}

std::string BridgeStartWork::answeringAddress(std::uint16_t devicePort, const StopToken& token) {
    const std::vector<std::string> addresses = numericAddresses(profile_.providerIP);
    if (addresses.empty()) return profile_.providerIP;
    if (addresses.size() == 1) return addresses.front();
    for (const std::string& address : addresses) {
        const auto verdict =
            probe_.probe({address, devicePort, wireProtocolVersion(profile_)}, probeTime, probeTime, token);
        if (verdict == RemotePairingProbeResult::remotePairingPort) return address;
    }
    return addresses.front();
}

}  // namespace quillbay

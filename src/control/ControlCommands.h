#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "control/ControlAnswer.h"
#include "control/ControlRequest.h"
#include "core/AppCoordinator.h"
#include "platform/Host.h"

namespace quillbay {

/// Brings the program's window to the front. `token` is the desktop's leave to do so, if whoever asks has
/// one.
using ActivationHandler = std::function<void(const std::optional<std::string>& token)>;

/// Carries requests out with the coordinator's own operations. Lives on the main queue.
///
/// A request that takes time (a VPN's client, a scan, the first seconds of a discovery) does not hold the
/// queue up: its answer comes later. Answers that are not over hold this object by a plain reference, so
/// whoever owns it abandons them before it goes.
class ControlCommands {
 public:
    /// A discovery that has just begun knows nothing yet: until this has passed, an answer about the local
    /// network waits. (Bonjour responders answer within half a second; a slow resolver takes one more.)
    static constexpr std::chrono::milliseconds discoveryTime{2000};
    /// How old the names of the developer tools' devices may get before they are asked for again.
    static constexpr std::chrono::seconds deviceNamesAge{30};

    /// `host` and `coordinator` must outlive the commands.
    ControlCommands(const Host& host, AppCoordinator& coordinator, ActivationHandler activate = {})
        : host_(host), coordinator_(coordinator), activate_(std::move(activate)) {}
    ControlCommands(const ControlCommands&) = delete;
    ControlCommands& operator=(const ControlCommands&) = delete;

    /// Never throws for what the request asks: a refusal is an answer.
    void run(const ControlRequest& request, const std::shared_ptr<ControlAnswer>& answer);

 private:
    using Answer = std::shared_ptr<ControlAnswer>;

    void carryOut(const control::Status& request, const Answer& answer);
    void carryOut(const control::Phones& request, const Answer& answer);
    void carryOut(const control::Providers& request, const Answer& answer);
    void carryOut(const control::Peers& request, const Answer& answer);
    void carryOut(const control::Pair& request, const Answer& answer);
    void carryOut(const control::Start& request, const Answer& answer);
    void carryOut(const control::Stop& request, const Answer& answer);
    void carryOut(const control::Scan& request, const Answer& answer);
    void carryOut(const control::Rename& request, const Answer& answer);
    void carryOut(const control::Remove& request, const Answer& answer);
    void carryOut(const control::Log& request, const Answer& answer);
    void carryOut(const control::Report& request, const Answer& answer);
    void carryOut(const control::Settings& request, const Answer& answer);
    void carryOut(const control::Activate& request, const Answer& answer);

    /// Runs `then` as soon as the local network has been looked at for long enough.
    void whenPhonesAreKnown(const Answer& answer, Task then);
    /// Asks the provider's client for its peers; `then` runs when they are there. A failure is the answer.
    void withPeers(const MeshVPNProviderType& provider, const Answer& answer,
                   std::function<void(const std::vector<MeshVPNDevice>& peers)> then);
    void pair(const control::Pair& request, const CapturedBonjourService& service, const Answer& answer);
    /// Saves what `service` and `connect` make of the profile, a stored one or a new one.
    void savePaired(const control::Pair& request, const CapturedBonjourService& service,
                    const std::string& providerID, const std::function<void(DeviceProfile&)>& connect,
                    const Answer& answer);

    const Host& host_;
    AppCoordinator& coordinator_;
    /// Empty in a program without windows.
    ActivationHandler activate_;
    std::optional<std::chrono::steady_clock::time_point> deviceNamesAsked_;
};

}  // namespace quillbay

#include "control/ControlCommands.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <variant>

#include "control/ControlDocuments.h"
#include "control/ControlLookup.h"
#include "control/ControlNames.h"

namespace quillbay {

void ControlCommands::run(const ControlRequest& request, const Answer& answer) {
    answer->guarded([&] { std::visit([&](const auto& command) { carryOut(command, answer); }, request); })();
}

void ControlCommands::carryOut(const control::Status& /*request*/, const Answer& answer) {
    answer->last(control::statusDocument(coordinator_));
}

void ControlCommands::carryOut(const control::Phones& /*request*/, const Answer& answer) {
    whenPhonesAreKnown(answer, [this, weak = std::weak_ptr(answer)] {
        if (const auto kept = weak.lock())
            kept->last(control::phonesDocument(coordinator_.capturedServices()));
    });
}

void ControlCommands::carryOut(const control::Providers& /*request*/, const Answer& answer) {
    // A client that was installed a moment ago is one of those that the windows offer next, too.
    coordinator_.refreshInstalledProviders();
    answer->last(control::providersDocument(coordinator_));
}

void ControlCommands::carryOut(const control::Peers& request, const Answer& answer) {
    const MeshVPNProviderType& provider = control::findProvider(request.provider);
    withPeers(provider, answer, [answer, id = provider.id](const std::vector<MeshVPNDevice>& peers) {
        answer->last(control::peersDocument(id, peers));
    });
}

void ControlCommands::carryOut(const control::Start& request, const Answer& answer) {
    const DeviceProfile& profile = control::findProfile(coordinator_.profiles(), request.profile);
    const std::string id = profile.id();
    coordinator_.start(profile);
    answer->last(control::idDocument(id));
}

void ControlCommands::carryOut(const control::Stop& request, const Answer& answer) {
    const DeviceProfile& profile = control::findProfile(coordinator_.profiles(), request.profile);
    const std::string id = profile.id();
    coordinator_.stop(profile);
    answer->last(control::idDocument(id));
}

void ControlCommands::carryOut(const control::Rename& request, const Answer& answer) {
    DeviceProfile profile = control::findProfile(coordinator_.profiles(), request.profile);
    profile.displayName = control::checkedDisplayName(request.name);
    coordinator_.saveProfile(profile, AppCoordinator::SaveAnnouncement::announced);
    control::requireKept(coordinator_.profiles(), profile);
    answer->last(control::idDocument(profile.id()));
}

void ControlCommands::carryOut(const control::Remove& request, const Answer& answer) {
    const DeviceProfile& profile = control::findProfile(coordinator_.profiles(), request.profile);
    const std::string id = profile.id();
    coordinator_.deleteProfile(profile);
    control::requireRemoved(coordinator_.profiles(), id);
    answer->last(control::idDocument(id));
}

void ControlCommands::carryOut(const control::Scan& request, const Answer& answer) {
    const DeviceProfile profile = control::findProfile(coordinator_.profiles(), request.profile);
    struct Progress {
        std::size_t probed = 0;
        std::size_t total = 0;
    };
    const auto progress = std::make_shared<Progress>();
    AppCoordinator::ScanObserver observer;
    observer.onProgress = [answer, progress](std::size_t probed, std::size_t total) {
        *progress = {probed, total};
        answer->more(control::scanProgressDocument(probed, total));
    };
    observer.onEnd = [answer, progress](const RemotePairingScanReport& report) {
        answer->last(control::scanResultDocument(report, progress->probed, progress->total));
    };
    observer.onCancelled = [answer] { answer->refuse("The scan was ended before it was done."); };
    const std::uint64_t number = coordinator_.diagnose(profile, std::move(observer));
    answer->lastsWhileWanted([this, id = profile.id(), number] { coordinator_.cancelDiagnose(id, number); });
}

void ControlCommands::carryOut(const control::Log& request, const Answer& answer) {
    std::string lines;
    for (const std::string& line : coordinator_.logs().userLines())
        lines += control::lineDocument(line);
    if (!request.follow) return answer->last(lines + control::endDocument());
    answer->lastsWhileWanted({});
    if (!lines.empty()) answer->more(std::move(lines));
    const std::weak_ptr<ControlAnswer> weak = answer;
    auto subscription = coordinator_.logs().userLineAdded.add([weak](const std::string& line) {
        if (const auto kept = weak.lock()) kept->more(control::lineDocument(line));
    });
    answer->keep(std::make_shared<Subscription>(std::move(subscription)));
}

void ControlCommands::carryOut(const control::Report& request, const Answer& answer) {
    coordinator_.exportReport(request.to, [answer, to = request.to](const std::optional<std::string>& error) {
        if (error)
            answer->refuse(*error);
        else
            answer->last(control::pathDocument(to.native()));
    });
}

void ControlCommands::carryOut(const control::Settings& request, const Answer& answer) {
    if (request.onlyThisComputer)
        if (const auto notKept = coordinator_.setOnlyThisComputer(*request.onlyThisComputer))
            throw RefusedRequest("This holds until Quillbay quits. It could not be saved: " + *notKept);
    answer->last(control::settingsDocument(coordinator_));
}

void ControlCommands::carryOut(const control::Activate& request, const Answer& answer) {
    if (!activate_) throw RefusedRequest("The program that runs has no windows.");
    activate_(request.token);
    answer->last(control::endDocument());
}

void ControlCommands::whenPhonesAreKnown(const Answer& answer, Task then) {
    const auto now = host_.clock.steadyNow();
    if (!coordinator_.discoveryStarted()) coordinator_.startDiscovery();
    if (!deviceNamesAsked_ || now - *deviceNamesAsked_ >= deviceNamesAge) {
        deviceNamesAsked_ = now;
        coordinator_.refreshDeviceNames();
    }
    const auto known = coordinator_.discoveryStarted().value_or(now) + discoveryTime;
    if (known <= now) return then();
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(known - now);
    // The step must not hold the answer: the answer holds the timer, and that the step.
    answer->keep(host_.mainQueue.after(wait, [weak = std::weak_ptr(answer), then = std::move(then)] {
        if (const auto kept = weak.lock()) kept->guarded(then)();
    }));
}

void ControlCommands::withPeers(const MeshVPNProviderType& provider, const Answer& answer,
                                std::function<void(const std::vector<MeshVPNDevice>& peers)> then) {
    if (!provider.supportsDeviceDiscovery)
        throw RefusedRequest(
            fmt::format("{} cannot list its peers: pair with the phone's address.", provider.displayName));
    coordinator_.refreshDevices(provider.id,
                                answer->guarded([this, id = provider.id, then = std::move(then)] {
                                    const auto& errors = coordinator_.lastErrorByProviderID();
                                    if (const auto error = errors.find(id); error != errors.end())
                                        throw RefusedRequest(error->second);
                                    // A copy: what is done with them may replace them.
                                    const auto& lists = coordinator_.devicesByProviderID();
                                    const auto list = lists.find(id);
                                    then(list == lists.end() ? std::vector<MeshVPNDevice>() : list->second);
                                }));
}

}  // namespace quillbay

// The coordinator's dealings with the mesh VPNs: which are there, their peers, and the paths of their
// clients.

#include <fmt/format.h>

#include <exception>
#include <system_error>
#include <utility>

#include "core/AppCoordinator.h"
#include "platform/PrintedError.h"
#include "providers/MeshVPNProviderRegistry.h"

namespace quillbay {

std::string AppCoordinator::binaryPathKey(const std::string& providerID) {
    return "meshvpn.binaryPath." + providerID;
}

std::shared_ptr<MeshVPNProvider> AppCoordinator::makeProvider(const MeshVPNProviderType& type) const {
    std::optional<std::string> path = settings_.string(binaryPathKey(type.id));
    if (path && path->empty()) path.reset();
    return type.makeProvider(std::move(path));
}

void AppCoordinator::refreshInstalledProviders() {
    installedProviders_.clear();
    for (const MeshVPNProviderType& type : MeshVPNProviderRegistry::all()) {
        const std::shared_ptr<MeshVPNProvider>& provider = providersByID_.at(type.id);
        if (provider->isInstalled()) installedProviders_.push_back(provider);
    }
    published.notify(Published::installedProviders);
}

void AppCoordinator::refreshAllInstalledProviders() {
    refreshInstalledProviders();
    // A copy: whoever is told of a change may look anew.
    const auto installed = installedProviders_;
    for (const auto& provider : installed)
        refreshDevices(provider->type().id);
}

void AppCoordinator::refreshDevices(const std::string& providerID, Task done) {
    if (!providersByID_.contains(providerID)) {
        if (done) host_.mainQueue.post(std::move(done));
        return;
    }
    Refresh& refresh = refreshByProviderID_[providerID];
    if (done) refresh.waiting.push_back(std::move(done));
    if (!refresh.work) beginRefresh(providerID);
}

void AppCoordinator::beginRefresh(const std::string& providerID) {
    Refresh& refresh = refreshByProviderID_[providerID];
    const auto end = [weak = weak_from_this(), &mainQueue = host_.mainQueue, providerID,
                      run = ++refresh.run](Listing listing) {
        mainQueue.post([weak, providerID, run, listing = std::move(listing)] {
            if (const auto coordinator = weak.lock()) coordinator->endRefresh(providerID, run, listing);
        });
    };
    try {
        refresh.work =
            host_.background.run([provider = providersByID_.at(providerID), end](const StopToken& token) {
                try {
                    end({provider->listDevices(token), std::nullopt});
                } catch (const std::exception& error) {
                    end({{}, printedError(error)});
                }
            });
    } catch (const std::system_error& error) {
        end({{}, printedError(error)});
    }
}

void AppCoordinator::endRefresh(const std::string& providerID, std::uint64_t run, Listing listing) {
    Refresh& refresh = refreshByProviderID_[providerID];
    if (refresh.run != run) return;
    const std::string& name = providersByID_.at(providerID)->type().displayName;
    if (listing.error) {
        logs_.diagnostic("Failed to fetch " + name + " devices: " + *listing.error);
        lastErrorByProviderID_[providerID] = *std::move(listing.error);
    } else {
        logs_.diagnostic(fmt::format("{}: listed {} device(s)", name, listing.devices.size()));
        devicesByProviderID_[providerID] = std::move(listing.devices);
        lastErrorByProviderID_.erase(providerID);
    }
    finish(refresh, Published::devices);
}

void AppCoordinator::finish(Refresh& refresh, Published part) {
    // Both before anybody is told: who is told may begin the next refresh, which is not over then.
    refresh.work.reset();
    const std::vector<Task> waiting = std::exchange(refresh.waiting, {});
    published.notify(part);
    for (const Task& done : waiting)
        done();
}

std::optional<std::string> AppCoordinator::setBinaryPath(const std::string& path,
                                                         const std::string& providerID) {
    const auto found = providersByID_.find(providerID);
    if (found == providersByID_.end()) return std::nullopt;
    MeshVPNProvider& provider = *found->second;
    provider.setBinaryPath(path.empty() ? provider.type().defaultBinaryPath() : path);
    std::optional<std::string> notKept = keepBinaryPath(path, providerID);
    refreshInstalledProviders();
    logs_.diagnostic("CLI path for " + providerID + " set to " + (path.empty() ? "(default)" : path));

    const auto refresh = refreshByProviderID_.find(providerID);
    if (refresh == refreshByProviderID_.end() || !refresh->second.work) return notKept;
    refresh->second.work->requestStop();
    beginRefresh(providerID);
    return notKept;
}

std::optional<std::string> AppCoordinator::keepBinaryPath(const std::string& path,
                                                          const std::string& providerID) {
    return keepSetting("CLI path for " + providerID, [&](SettingsStore& settings) {
        if (path.empty())
            settings.remove(binaryPathKey(providerID));
        else
            settings.setString(binaryPathKey(providerID), path);
    });
}

}  // namespace quillbay

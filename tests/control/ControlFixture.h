#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "control/ControlClient.h"
#include "control/ControlServer.h"
#include "core/AppCoordinator.h"
#include "fakes/TestHost.h"
#include "fakes/WaitUntil.h"
#include "profile/DeviceProfileStore.h"

namespace quillbay {

/// A served coordinator on a scripted host, and clients of it.
class ControlFixture : public ::testing::Test {
 protected:
    ~ControlFixture() override {
        server.reset();
        coordinator.reset();
        world.settle();
    }

    /// With these profiles on file.
    void serve(const std::vector<DeviceProfile>& profiles = {}) {
        DeviceProfileStore(world.host.files, "Quillbay").save(profiles);
        coordinator = AppCoordinator::make(
            world.host, {.presenceCheck = [](const std::string&, std::chrono::milliseconds,
                                             const StopToken&) { return false; },
                         .serviceQuestion = [](const CapturedBonjourService&, std::chrono::milliseconds,
                                               const StopToken&) { return PresenceAnswer::silent; }});
        // The first address is news, too.
        world.settle();
        server = std::make_unique<ControlServer>(world.host, *coordinator, activate);
    }

    fakes::ControlClient client() { return {world, server->socketPath()}; }

    /// The first document with which a new client is answered.
    std::string ask(std::string_view request) { return client().ask(request); }

    DeviceProfile profile(const std::string& name) const {
        DeviceProfile made = DeviceProfile::draft(name);
        made.bonjourName = name + "-instance";
        made.bonjourHost = name + ".local";
        made.providerID = "tailscale";
        made.providerHostName = name;
        made.providerIP = world.phoneIP;
        made.remotePairingPort = 50000;
        made.tunnelPortRangeStart = 40001;
        made.tunnelPortRangeEnd = 40002;
        return made;
    }

    /// A phone that the capture sees now.
    CapturedBonjourService phone(const std::string& name, const std::string& host) const {
        return {.name = name,
                .serviceType = "_remotepairing._tcp",
                .domain = "local",
                .host = host,
                .port = 49152,
                .txt = {{"identifier", "ABC"}, {"ver", "24"}},
                .lastSeen = world.clock.now(),
                .resolvedDeviceName = std::nullopt};
    }

    /// Discovery runs and has had its time; these are what it has found.
    void discover(const std::vector<CapturedBonjourService>& services) {
        coordinator->startDiscovery();
        world.advance(std::chrono::seconds(2));
        for (const CapturedBonjourService& service : services)
            coordinator->upsertCapturedService(service);
    }

    /// The VPN's client is from now on a shell script with these lines.
    void useClient(const std::string& provider, const std::string& lines) {
        const std::filesystem::path path = world.folder.path() / (provider + "-client");
        {
            std::ofstream file(path.string() + ".new");
            file << "#!/bin/sh\n" << lines;
        }
        std::filesystem::permissions(path.string() + ".new", std::filesystem::perms::owner_all);
        std::filesystem::rename(path.string() + ".new", path);
        coordinator->setBinaryPath(path.string(), provider);
    }

    /// One that prints these peers of Tailscale's: each a JSON object.
    void usePeers(const std::vector<std::string>& peers) {
        std::string document;
        for (const std::string& peer : peers)
            document +=
                (document.empty() ? "" : ",") + ("\"key" + std::to_string(document.size())) + "\":" + peer;
        useClient("tailscale", "cat <<'EOF'\n{\"Peer\":{" + document + "}}\nEOF\n");
    }

    std::vector<DeviceProfile> stored() { return DeviceProfileStore(world.host.files, "Quillbay").load(); }

    /// To be set before `serve`.
    ActivationHandler activate;
    fakes::TestHost world;
    std::shared_ptr<AppCoordinator> coordinator;
    std::unique_ptr<ControlServer> server;
};

}  // namespace quillbay

#pragma once

#include <sys/stat.h>

#include <QSignalSpy>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "ui/ModelFixture.h"
#include "ui/models/AddDeviceModel.h"

namespace quillbay {

/// The sheet on a computer with scripted VPN clients.
class AddDeviceFixture : public ModelFixture {
 protected:
    static constexpr const char* twoPeers =
        R"({"Peer": {"a": {"HostName": "lena", "TailscaleIPs": ["100.64.0.7", "fd7a::7"], "Online": true},)"
        R"( "b": {"HostName": "server"}}})";

    void SetUp() override {
        make();
        model = std::make_unique<AddDeviceModel>(*coordinator);
    }

    /// Puts a client that runs `body` in place of the provider's.
    void install(const std::string& providerID, const std::string& body) {
        const std::filesystem::path path = world.folder.path() / providerID;
        std::ofstream(path) << "#!/bin/sh\necho run >> '" << path.string() << "-runs'\n" << body << "\n";
        ::chmod(path.c_str(), 0700);
        coordinator->setBinaryPath(path.string(), providerID);
    }
    void installPeers(const std::string& document = twoPeers) {
        install("tailscale", "cat <<'END'\n" + document + "\nEND");
    }
    [[nodiscard]] int runs(const std::string& providerID) const {
        std::ifstream file((world.folder.path() / (providerID + "-runs")).string());
        int count = 0;
        for (std::string line; std::getline(file, line);)
            ++count;
        return count;
    }

    void open() {
        model->openToAdd();
        EXPECT_TRUE(until([&] { return !model->refreshing(); }));
    }
    void edit(const QString& profileID) {
        model->openToEdit(profileID);
        EXPECT_TRUE(until([&] { return !model->refreshing(); }));
    }
    void select(const char* providerID) {
        model->selectProvider(providerID);
        EXPECT_TRUE(until([&] { return !model->refreshing(); }));
    }
    /// A phone comes into sight.
    void see(const std::string& host, const std::string& deviceName = {}) {
        CapturedBonjourService seen = service(host);
        if (!deviceName.empty()) seen.resolvedDeviceName = deviceName;
        coordinator->upsertCapturedService(seen);
    }
    /// All phones go out of sight.
    void loseAll() { coordinator->pruneStaleCapturedServices(std::chrono::seconds(0)); }

    std::unique_ptr<AddDeviceModel> model;
};

}  // namespace quillbay

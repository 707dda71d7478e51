#pragma once

#include <sys/stat.h>

#include <deque>
#include <filesystem>
#include <fstream>

#include "ui/WindowFixture.h"

namespace quillbay {

/// The settings window, with scripted VPN clients.
class SettingsWindowTest : public WindowFixture {
 protected:
    std::filesystem::path client(const std::string& name, const std::string& body) const {
        const std::filesystem::path path = world.folder.path() / name;
        std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
        ::chmod(path.c_str(), 0700);
        return path;
    }
    /// A Tailscale client with so many peers, at the place that the settings name.
    void installPeers(int count) {
        std::string peers;
        for (int i = 0; i < count; ++i)
            peers += (i == 0 ? "\"" : ",\"") + std::to_string(i) + R"(": {"HostName": "peer-)" +
                     std::to_string(i) + R"(", "TailscaleIPs": ["100.64.0.7"], "Online": true})";
        use("tailscale", client("tailscale", "cat <<'END'\n{\"Peer\": {" + peers + "}}\nEND"));
    }
    void use(const std::string& providerID, const std::filesystem::path& path) {
        if (!coordinator) makeModels();
        static_cast<void>(coordinator->setBinaryPath(path.string(), providerID));
    }
    void open(QSize size = {}) { show(QStringLiteral("SettingsWindow"), size); }

    [[nodiscard]] QQuickItem* card(const QString& title) const {
        for (QQuickItem* item : allOfType(QStringLiteral("SectionCard")))
            if (item->property("title").toString() == title) return item;
        return nullptr;
    }
    /// The switch of this name; the text beside it is called the same.
    [[nodiscard]] QQuickItem* toggle(const QString& name) const {
        for (QQuickItem* item : allOfType(QStringLiteral("ToggleSwitch")))
            if (item->property("name").toString() == name) return item;
        return nullptr;
    }
    [[nodiscard]] QQuickItem* testButton() const {
        return control(QStringLiteral("Test device list"), card(QStringLiteral("Tailscale CLI path")));
    }
    void testDeviceList() {
        click(testButton());
        ASSERT_TRUE(until([this] { return !settingsModel->providers().at(0)->testing(); }));
        settleWindow();
    }
    [[nodiscard]] std::deque<std::string> diagnosticLines() const {
        return coordinator->logs().diagnosticLines();
    }
};

}  // namespace quillbay

#pragma once

#include <sys/stat.h>

#include <QAccessible>
#include <filesystem>
#include <fstream>

#include "ui/WindowFixture.h"

namespace quillbay {

inline constexpr const char* scanning =
    "Scanning… Make sure the iPhone is connected via USB or on the same Wi-Fi network.";
inline constexpr const char* noClient =
    "No mesh-VPN client detected. Install Tailscale, ZeroTier, or Netbird, or pick Manual IP above.";
inline constexpr const char* twoPeers =
    R"({"Peer": {"a": {"HostName": "lena-iphone", "TailscaleIPs": ["100.92.14.7"], "Online": true},)"
    R"( "b": {"HostName": "qa-mini", "TailscaleIPs": ["100.92.14.8"], "Online": false}}})";

/// The sheet over the main window, as a person meets it.
class AddDeviceSheetTest : public WindowFixture {
 protected:
    /// A VPN client that runs `body`, at the place that the settings name.
    void install(const std::string& providerID, const std::string& body) {
        if (!coordinator) makeModels();
        const std::filesystem::path path = world.folder.path() / (providerID + "-client");
        std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
        ::chmod(path.c_str(), 0700);
        static_cast<void>(coordinator->setBinaryPath(path.string(), providerID));
    }
    void installPrinting(const std::string& providerID, const std::string& document) {
        install(providerID, "cat <<'END'\n" + document + "\nEND");
    }
    void installAll() {
        installPrinting("tailscale", twoPeers);
        install("zerotier", "exit 0");
        installPrinting("netbird", R"({"peers": {"details": []}})");
    }

    CapturedBonjourService phone(const std::string& name, const std::string& host, std::uint16_t port) const {
        CapturedBonjourService made = service(host);
        made.resolvedDeviceName = name;
        made.port = port;
        return made;
    }
    void seeTwoPhones() {
        if (!coordinator) makeModels();
        coordinator->upsertCapturedService(phone("Lena's iPhone 16 Pro", "Lenas-iPhone.local", 49733));
        coordinator->upsertCapturedService(phone("QA iPhone 13 mini", "QA-iPhone-13-mini.local", 51020));
    }

    void open(QSize size = {}) {
        show(QStringLiteral("MainWindow"), size);
        mainWindow->beginAdd();
        untilQuietSheet();
    }
    void openToEdit(const DeviceProfile& profile) {
        show(QStringLiteral("MainWindow"));
        mainWindow->beginEdit(QString::fromStdString(profile.id()));
        untilQuietSheet();
    }
    void untilQuietSheet() {
        ASSERT_TRUE(until([this] { return !mainWindow->addDevice()->refreshing(); }));
        settleWindow();
    }
    [[nodiscard]] AddDeviceModel& model() const { return *mainWindow->addDevice(); }

    [[nodiscard]] QQuickItem* row(const QString& title) const {
        for (QQuickItem* item : allOfType(QStringLiteral("DiscoveryRowItem")))
            if (item->property("title").toString() == title) return item;
        return nullptr;
    }
    [[nodiscard]] QQuickItem* tile(const QString& label) const {
        for (QQuickItem* item : allOfType(QStringLiteral("ProviderTileButton")))
            if (item->property("text").toString() == label) return item;
        return nullptr;
    }
    [[nodiscard]] QQuickItem* field(const QString& name) const { return control(name); }
    [[nodiscard]] QQuickItem* saveButton() const { return control(QStringLiteral("Save")); }
    [[nodiscard]] bool canPress(const QString& name) const {
        const QQuickItem* button = control(name);
        return button != nullptr && button->isEnabled();
    }
    [[nodiscard]] static QAccessible::State state(QQuickItem* item) {
        return QAccessible::queryAccessibleInterface(item)->state();
    }
    /// What lies over the window, cut off by nothing but the window itself.
    [[nodiscard]] QRectF sheetRect() const {
        const QQuickItem* page = text(model().title());
        while (page != nullptr && !page->inherits("QQuickPopupItem"))
            page = page->parentItem();
        return page == nullptr ? QRectF() : page->mapRectToScene(QRectF(0, 0, page->width(), page->height()));
    }
    [[nodiscard]] QQuickItem* sheetItem() const {
        QQuickItem* page = text(model().title());
        while (page != nullptr && !page->inherits("QQuickPopupItem"))
            page = page->parentItem();
        return page;
    }
};

}  // namespace quillbay

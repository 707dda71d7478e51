// What the add-device sheet lists, and what saving makes of the choices.

#include <algorithm>
#include <utility>

#include "core/DevicePairing.h"
#include "platform/Text.h"
#include "ui/models/AddDeviceModel.h"
#include "ui/models/ProviderSymbol.h"
#include "ui/models/ShownText.h"
#include "ui/models/StoredProfile.h"

namespace quillbay {

namespace {

QString captionOf(const std::string& host, std::uint16_t port) {
    return shownLine(host) + u':' + QString::number(port);
}

DiscoveryRow rowOf(const CapturedBonjourService& service) {
    DiscoveryRow row;
    row.rowID = QString::fromStdString(service.host);
    row.title = shownLine(service.resolvedDeviceName.value_or(service.name));
    row.caption = captionOf(service.host, service.port);
    return row;
}

/// The phone of a profile, as it was when the profile was stored.
DiscoveryRow rowOf(const DeviceProfile& profile) {
    DiscoveryRow row;
    row.rowID = QString::fromStdString(profile.bonjourHost);
    row.title = shownLine(profile.bonjourName);
    row.caption = captionOf(profile.bonjourHost, profile.remotePairingPort);
    row.discoveredEarlier = true;
    return row;
}

PeerEntry entryOf(const MeshVPNDevice& device) {
    PeerEntry entry;
    entry.hostName = QString::fromStdString(device.hostName);
    entry.label = shownLine(device.hostName) +
                  (device.online ? QStringLiteral(" (online)") : QStringLiteral(" (offline)"));
    entry.symbol = device.online ? QStringLiteral("circle.fill") : QStringLiteral("circle");
    entry.online = device.online;
    return entry;
}

}  // namespace

void AddDeviceModel::updateRows() {
    std::vector<DiscoveryRow> rows;
    rows.reserve(coordinator_.capturedServices().size() + 1);
    for (const CapturedBonjourService& service : coordinator_.capturedServices())
        rows.push_back(rowOf(service));
    if (editingProfile_) {
        DiscoveryRow own = rowOf(*editingProfile_);
        if (std::ranges::find(rows, own.rowID, &DiscoveryRow::rowID) == rows.end())
            rows.push_back(std::move(own));
    }
    discoveryRows_.setRows(std::move(rows));
}

void AddDeviceModel::updateTiles() {
    std::vector<ProviderTileInfo> tiles;
    for (const auto& provider : coordinator_.installedProviders()) {
        const MeshVPNProviderType& type = provider->type();
        tiles.push_back({QString::fromStdString(type.id), QString::fromStdString(type.displayName),
                         providerSymbol(type.iconAssetName)});
    }
    tiles.push_back(
        {QString::fromLatin1(manualProviderID), QStringLiteral("Manual IP"), QStringLiteral("keyboard")});
    tiles_.setTiles(std::move(tiles));
}

void AddDeviceModel::updatePeers() {
    std::vector<PeerEntry> entries{{{}, QStringLiteral("Select"), {}, false}};
    const auto listed = coordinator_.devicesByProviderID().find(selectedProvider_.toStdString());
    if (listed != coordinator_.devicesByProviderID().end()) {
        for (const MeshVPNDevice& device : listed->second) {
            // Without a name it could not be told from "Select".
            if (device.hostName.empty()) continue;
            entries.push_back(entryOf(device));
        }
    }
    peers_.setEntries(std::move(entries));
}

const CapturedBonjourService* AddDeviceModel::selectedService() const {
    const auto& services = coordinator_.capturedServices();
    const auto found = std::ranges::find_if(services, [this](const CapturedBonjourService& service) {
        return QString::fromStdString(service.host) == selectedRow_;
    });
    return found == services.end() ? nullptr : &*found;
}

bool AddDeviceModel::applySelectedProvider(DeviceProfile& profile) const {
    if (selectedProvider_.isEmpty()) return false;
    const std::string providerID = selectedProvider_.toStdString();
    if (isManualEntryMode()) return applyManualAddress(profile, providerID, manualIP_.toStdString());
    if (selectedPeer_.isEmpty()) return false;
    const auto listed = coordinator_.devicesByProviderID().find(providerID);
    if (listed == coordinator_.devicesByProviderID().end()) return false;
    const auto peer =
        std::ranges::find(listed->second, selectedPeer_.toStdString(), &MeshVPNDevice::hostName);
    return peer != listed->second.end() && applyPeer(profile, providerID, *peer);
}

DeviceProfile AddDeviceModel::editedProfile() const {
    // What has changed since the sheet was opened, a port for one thing, is not changed back.
    const DeviceProfile* stored = storedProfile(coordinator_, QString::fromStdString(editingProfile_->id()));
    DeviceProfile profile = stored == nullptr ? *editingProfile_ : *stored;
    profile.displayName = trimmed(displayName_.toStdString());
    if (const CapturedBonjourService* service = selectedService()) takeRecord(profile, *service);
    // A choice that makes no connector leaves the one that the device has.
    static_cast<void>(applySelectedProvider(profile));
    return profile;
}

std::optional<DeviceProfile> AddDeviceModel::newProfile() const {
    const CapturedBonjourService* service = selectedService();
    if (service == nullptr) return std::nullopt;
    DeviceProfile draft = draftProfile(*service, displayName_.toStdString());
    if (!applySelectedProvider(draft)) return std::nullopt;
    return draft;
}

std::optional<DeviceProfile> AddDeviceModel::enteredProfile() const {
    return editingProfile_ ? editedProfile() : newProfile();
}

QString AddDeviceModel::replacementWarning() const {
    if (!open_) return {};
    const std::optional<DeviceProfile> entered = enteredProfile();
    if (!entered) return {};
    if (editingProfile_ && entered->id() == editingProfile_->id()) return {};
    const DeviceProfile* other = storedProfile(coordinator_, QString::fromStdString(entered->id()));
    if (other == nullptr) return {};
    const QString name = other->displayName.empty() ? QStringLiteral("another saved device")
                                                    : u'"' + shownLine(other->displayName) + u'"';
    return QStringLiteral("Saving replaces ") + name +
           QStringLiteral(", which stands for the same iPhone and network connector.");
}

void AddDeviceModel::save() {
    if (!open_ || !canSave()) return;
    std::optional<DeviceProfile> profile = enteredProfile();
    if (!profile) return;
    const QString profileID = QString::fromStdString(profile->id());
    const std::string former = editingProfile_ ? editingProfile_->id() : "";
    // The sheet does not show what its own saving changes, the device that is stored now for one thing.
    open_ = false;
    if (editingProfile_ && profile->id() != former) {
        // A bridge that was switched on meanwhile ends with the former device.
        profile->bridgeEnabled = editingProfile_->bridgeEnabled;
        coordinator_.deleteProfile(*editingProfile_);
    }
    coordinator_.saveProfile(*std::move(profile), AppCoordinator::SaveAnnouncement::announced);
    close();
    Q_EMIT saved(profileID, QString::fromStdString(former));
}

}  // namespace quillbay

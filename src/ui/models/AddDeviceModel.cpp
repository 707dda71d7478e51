#include "ui/models/AddDeviceModel.h"

#include <QPointer>
#include <utility>

#include "core/DevicePairing.h"
#include "platform/Text.h"
#include "providers/MeshVPNProviderRegistry.h"
#include "ui/models/ShownText.h"
#include "ui/models/StoredProfile.h"

namespace quillbay {

namespace {

const MeshVPNProviderType* registered(const QString& providerID) {
    return MeshVPNProviderRegistry::provider(providerID.toStdString());
}

}  // namespace

AddDeviceModel::AddDeviceModel(AppCoordinator& coordinator, QObject* parent)
    : QObject(parent), coordinator_(coordinator) {
    published_ = coordinator_.published.add([this](AppCoordinator::Published part) { handleChange(part); });
}

void AddDeviceModel::openToAdd() {
    if (!open_) open(std::nullopt);
}

void AddDeviceModel::openToEdit(const QString& profileID) {
    if (open_) return;
    const DeviceProfile* profile = storedProfile(coordinator_, profileID);
    if (profile != nullptr) open(*profile);
}

void AddDeviceModel::open(std::optional<DeviceProfile> editingProfile) {
    editingProfile_ = std::move(editingProfile);
    const DeviceProfile start = editingProfile_.value_or(DeviceProfile());
    selectedRow_ = QString::fromStdString(start.bonjourHost);
    selectedProvider_ = QString::fromStdString(start.providerID.value_or(""));
    const bool typed = isManualEntryMode();
    selectedPeer_ = typed ? QString() : QString::fromStdString(start.providerHostName);
    manualIP_ = typed ? QString::fromStdString(start.providerIP) : QString();
    displayName_ = QString::fromStdString(start.displayName);
    suggestedName_.clear();
    updateRows();
    updateTiles();
    updatePeers();
    open_ = true;
    Q_EMIT openChanged();
    Q_EMIT changed();
    coordinator_.startDiscovery();
    coordinator_.refreshDeviceNames();
    refresh();
}

void AddDeviceModel::close() {
    // What was entered stays until the next time, for the eye: the sheet takes a moment to fade.
    open_ = false;
    Q_EMIT openChanged();
}

void AddDeviceModel::cancel() {
    if (open_) close();
}

void AddDeviceModel::handleChange(AppCoordinator::Published part) {
    if (!open_) return;
    using Published = AppCoordinator::Published;
    if (part == Published::capturedServices) {
        updateRows();
        Q_EMIT changed();
    } else if (part == Published::installedProviders) {
        updateTiles();
        Q_EMIT providersChanged();
    } else if (part == Published::devices) {
        updatePeers();
        Q_EMIT providersChanged();
        Q_EMIT changed();
    } else if (part == Published::profiles) {
        Q_EMIT changed();
    }
}

QString AddDeviceModel::title() const {
    return editingProfile_ ? QStringLiteral("Edit Device") : QStringLiteral("Add Device");
}

QString AddDeviceModel::subtitle() const {
    return editingProfile_
               ? QStringLiteral("Update this device's name or re-pair it with a different network peer.")
               : QStringLiteral("Find an iPhone on your local network and pair it with its network peer.");
}

QString AddDeviceModel::discoveryTrouble() const {
    if (!coordinator_.discoveryFails()) return {};
    return QStringLiteral(
        "No iPhone can be found right now: this computer's service for finding devices on the network isn't "
        "running. Quillbay keeps trying.");
}

QString AddDeviceModel::selectedRow() const {
    return discoveryRows_.rowOf(selectedRow_) < 0 ? QString() : selectedRow_;
}

QString AddDeviceModel::selectedPeer() const {
    return peers_.rowOf(selectedPeer_) < 0 ? QString() : selectedPeer_;
}

bool AddDeviceModel::noProviderInstalled() const {
    return coordinator_.installedProviders().empty();
}

QStringList AddDeviceModel::providerErrors() const {
    QStringList errors;
    for (const MeshVPNProviderType& type : MeshVPNProviderRegistry::all()) {
        const auto error = coordinator_.lastErrorByProviderID().find(type.id);
        if (error != coordinator_.lastErrorByProviderID().end())
            errors.append(shownLines(trimmed(error->second)));
    }
    return errors;
}

bool AddDeviceModel::isManualEntryMode() const {
    if (selectedProvider_ == QLatin1String(manualProviderID)) return true;
    const MeshVPNProviderType* type = registered(selectedProvider_);
    return type != nullptr && !type->supportsDeviceDiscovery;
}

QString AddDeviceModel::manualPrompt() const {
    QString label = QStringLiteral("Device");
    if (selectedProvider_ == QLatin1String(manualProviderID))
        label = QStringLiteral("Manual IP");
    else if (const MeshVPNProviderType* type = registered(selectedProvider_))
        label = QString::fromStdString(type->displayName);
    return label + QStringLiteral(" IP address");
}

bool AddDeviceModel::showsPeers() const {
    return !selectedProvider_.isEmpty() && !isManualEntryMode();
}

bool AddDeviceModel::canSave() const {
    if (editingProfile_) return !trimmed(displayName_.toStdString()).empty();
    if (selectedRow().isEmpty() || displayName_.isEmpty()) return false;
    return isManualEntryMode() ? !trimmedBlanks(manualIP_.toStdString()).empty() : !selectedPeer().isEmpty();
}

void AddDeviceModel::setSelectedRow(const QString& rowID) {
    if (rowID == selectedRow_) return;
    selectedRow_ = rowID;
    suggestName();
    Q_EMIT changed();
}

void AddDeviceModel::suggestName() {
    const bool untouched = displayName_.isEmpty() || displayName_ == suggestedName_;
    if (editingProfile_ || !untouched) return;
    // Not the instance's name, which is made for computers.
    const CapturedBonjourService* service = selectedService();
    suggestedName_ =
        service == nullptr ? QString() : QString::fromStdString(service->resolvedDeviceName.value_or(""));
    displayName_ = suggestedName_;
}

void AddDeviceModel::setManualIP(const QString& address) {
    if (address == manualIP_) return;
    manualIP_ = address;
    Q_EMIT changed();
}

void AddDeviceModel::setSelectedPeer(const QString& hostName) {
    if (hostName == selectedPeer_) return;
    selectedPeer_ = hostName;
    Q_EMIT changed();
}

void AddDeviceModel::setDisplayName(const QString& name) {
    if (name == displayName_) return;
    displayName_ = name;
    Q_EMIT changed();
}

void AddDeviceModel::selectProvider(const QString& providerID) {
    if (tiles_.rowOf(providerID) < 0) return;
    selectedProvider_ = providerID;
    selectedPeer_.clear();
    updatePeers();
    Q_EMIT changed();
    if (providerID != QLatin1String(manualProviderID)) refreshDevices(providerID.toStdString());
}

void AddDeviceModel::refresh() {
    coordinator_.refreshAllInstalledProviders();
    // Joins those that have just begun, to hear of their ends.
    const auto installed = coordinator_.installedProviders();
    for (const auto& provider : installed)
        refreshDevices(provider->type().id);
}

void AddDeviceModel::refreshDevices(const std::string& providerID) {
    ++refreshes_;
    Q_EMIT providersChanged();
    coordinator_.refreshDevices(providerID, [model = QPointer(this)] {
        if (!model) return;
        --model->refreshes_;
        Q_EMIT model->providersChanged();
    });
}

}  // namespace quillbay

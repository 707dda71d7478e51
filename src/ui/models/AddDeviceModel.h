#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QStringList>
#include <optional>
#include <string>

#include "core/AppCoordinator.h"
#include "platform/Observers.h"
#include "profile/DeviceProfile.h"
#include "ui/models/DiscoveryRowsModel.h"
#include "ui/models/PeersModel.h"
#include "ui/models/ProviderTilesModel.h"

namespace quillbay {

/// The sheet that turns a phone found on the local network into a saved device, or edits one. Its state
/// starts anew each time it opens.
///
/// A chosen phone or peer whose row goes away is not chosen any more, and is again when the row comes back: a
/// phone may be missing for a moment, and the peers of a device that is edited are listed a little later.
///
/// Main thread. The coordinator must outlive it.
class AddDeviceModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(bool open READ isOpen NOTIFY openChanged)
    Q_PROPERTY(QString title READ title NOTIFY openChanged)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY openChanged)

    Q_PROPERTY(quillbay::DiscoveryRowsModel* discoveryRows READ discoveryRows CONSTANT)
    /// Why no phone can be found at present; empty when there is no reason to be seen.
    Q_PROPERTY(QString discoveryTrouble READ discoveryTrouble NOTIFY changed)
    /// The identifier of the chosen row; empty for none.
    Q_PROPERTY(QString selectedRow READ selectedRow WRITE setSelectedRow NOTIFY changed)

    Q_PROPERTY(quillbay::ProviderTilesModel* tiles READ tiles CONSTANT)
    /// The identifier of the chosen connector, "manual" for a typed-in address; empty for none.
    Q_PROPERTY(QString selectedProvider READ selectedProvider NOTIFY changed)
    /// No client of any VPN is installed.
    Q_PROPERTY(bool noProviderInstalled READ noProviderInstalled NOTIFY providersChanged)
    /// Why the clients' last answers failed, one text for each that did.
    Q_PROPERTY(QStringList providerErrors READ providerErrors NOTIFY providersChanged)
    /// Lists of peers are being asked for.
    Q_PROPERTY(bool refreshing READ refreshing NOTIFY providersChanged)

    Q_PROPERTY(bool manualEntryMode READ isManualEntryMode NOTIFY changed)
    Q_PROPERTY(QString manualIP READ manualIP WRITE setManualIP NOTIFY changed)
    Q_PROPERTY(QString manualPrompt READ manualPrompt NOTIFY changed)

    /// A provider is chosen that lists its peers.
    Q_PROPERTY(bool showsPeers READ showsPeers NOTIFY changed)
    /// "Select" first, which stands for none.
    Q_PROPERTY(quillbay::PeersModel* peers READ peers CONSTANT)
    /// The chosen peer's name; empty for none.
    Q_PROPERTY(QString selectedPeer READ selectedPeer WRITE setSelectedPeer NOTIFY changed)

    Q_PROPERTY(QString displayName READ displayName WRITE setDisplayName NOTIFY changed)
    /// Which other saved device goes when this one is saved as it is now; empty when none does.
    Q_PROPERTY(QString replacementWarning READ replacementWarning NOTIFY changed)
    Q_PROPERTY(bool canSave READ canSave NOTIFY changed)

 public:
    explicit AddDeviceModel(AppCoordinator& coordinator, QObject* parent = nullptr);

    // Both leave an open sheet as it is: what was entered there must not be lost.

    void openToAdd();
    /// An unknown id opens nothing.
    void openToEdit(const QString& profileID);

    [[nodiscard]] bool isOpen() const { return open_; }
    [[nodiscard]] QString title() const;
    [[nodiscard]] QString subtitle() const;
    [[nodiscard]] DiscoveryRowsModel* discoveryRows() { return &discoveryRows_; }
    [[nodiscard]] QString discoveryTrouble() const;
    [[nodiscard]] QString selectedRow() const;
    [[nodiscard]] ProviderTilesModel* tiles() { return &tiles_; }
    [[nodiscard]] QString selectedProvider() const { return selectedProvider_; }
    [[nodiscard]] bool noProviderInstalled() const;
    [[nodiscard]] QStringList providerErrors() const;
    [[nodiscard]] bool refreshing() const { return refreshes_ > 0; }
    [[nodiscard]] bool isManualEntryMode() const;
    [[nodiscard]] QString manualIP() const { return manualIP_; }
    [[nodiscard]] QString manualPrompt() const;
    [[nodiscard]] bool showsPeers() const;
    [[nodiscard]] PeersModel* peers() { return &peers_; }
    [[nodiscard]] QString selectedPeer() const;
    [[nodiscard]] QString displayName() const { return displayName_; }
    [[nodiscard]] QString replacementWarning() const;
    [[nodiscard]] bool canSave() const;

    void setSelectedRow(const QString& rowID);
    void setManualIP(const QString& address);
    void setSelectedPeer(const QString& hostName);
    void setDisplayName(const QString& name);

    /// The user's tap on a tile.
    Q_INVOKABLE void selectProvider(const QString& providerID);
    /// The user's "Refresh".
    Q_INVOKABLE void refresh();
    /// Saves and closes; stays open when what was entered makes no device.
    Q_INVOKABLE void save();
    Q_INVOKABLE void cancel();

 Q_SIGNALS:
    void openChanged();
    void changed();
    void providersChanged();
    /// A device was saved: its profile's id, and the one that it had before, empty for a new device.
    void saved(const QString& profileID, const QString& formerProfileID);

 private:
    void open(std::optional<DeviceProfile> editingProfile);
    void close();
    void handleChange(AppCoordinator::Published part);
    void updateRows();
    void updateTiles();
    void updatePeers();
    void refreshDevices(const std::string& providerID);
    void suggestName();

    [[nodiscard]] const CapturedBonjourService* selectedService() const;
    [[nodiscard]] bool applySelectedProvider(DeviceProfile& profile) const;
    /// What saving stores, from what was entered so far; nothing when that makes no device.
    [[nodiscard]] std::optional<DeviceProfile> enteredProfile() const;
    [[nodiscard]] std::optional<DeviceProfile> newProfile() const;
    [[nodiscard]] DeviceProfile editedProfile() const;

    AppCoordinator& coordinator_;
    DiscoveryRowsModel discoveryRows_;
    ProviderTilesModel tiles_;
    PeersModel peers_;
    bool open_ = false;
    std::optional<DeviceProfile> editingProfile_;
    /// As chosen, whether or not the row is there now; the same for the peer.
    QString selectedRow_;
    QString selectedProvider_;
    QString selectedPeer_;
    QString manualIP_;
    QString displayName_;
    /// The name that the chosen phone brought along.
    QString suggestedName_;
    /// Those that have not ended yet.
    int refreshes_ = 0;
    Subscription published_;
};

}  // namespace quillbay

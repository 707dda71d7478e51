#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "core/AppCoordinator.h"
#include "platform/Observers.h"
#include "ui/models/Status.h"

namespace quillbay {

/// What the detail area shows of one saved device, and what can be done with it there. Scans go on while
/// another device is looked at; each keeps its own progress.
///
/// Main thread. The coordinator must outlive it.
class ProfileDetailModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    /// Empty: there is none to show, and all else is empty too.
    Q_PROPERTY(QString profileID READ profileID NOTIFY changed)
    Q_PROPERTY(QString displayName READ displayName NOTIFY changed)
    Q_PROPERTY(quillbay::StatusPresentation status READ status NOTIFY changed)
    /// On while pairing and on.
    Q_PROPERTY(bool switchOn READ switchOn NOTIFY changed)
    // The facts; a fact that is not known reads "Unknown".
    Q_PROPERTY(QString device READ device NOTIFY changed)        // the peer's name
    Q_PROPERTY(QString connector READ connector NOTIFY changed)  // "Tailscale · 100.92.14.7"
    Q_PROPERTY(QString remotePairingPort READ remotePairingPort NOTIFY changed)
    Q_PROPERTY(QString tunnelPortRange READ tunnelPortRange NOTIFY changed)  // "55000–58000"
    Q_PROPERTY(QString serviceName READ serviceName NOTIFY changed)
    Q_PROPERTY(QString host READ host NOTIFY changed)
    Q_PROPERTY(QString serviceType READ serviceType NOTIFY changed)
    Q_PROPERTY(QString txtRecord READ txtRecord NOTIFY changed)  // "7 entries", "1 entry"
    Q_PROPERTY(bool scanning READ scanning NOTIFY scanChanged)
    /// From 0 to 1.
    Q_PROPERTY(double scanFraction READ scanFraction NOTIFY scanChanged)
    /// "4,212 of 16,384 ports"; "0 of 16,384 ports" at first.
    Q_PROPERTY(QString scanText READ scanText NOTIFY scanChanged)

 public:
    explicit ProfileDetailModel(AppCoordinator& coordinator, QObject* parent = nullptr);
    ~ProfileDetailModel() override;

    /// Shows the profile with this id from now on; an unknown id shows none.
    void show(const QString& profileID);

    [[nodiscard]] QString profileID() const { return profileID_; }
    [[nodiscard]] QString displayName() const;
    [[nodiscard]] StatusPresentation status() const { return status_; }
    [[nodiscard]] bool switchOn() const;
    [[nodiscard]] QString device() const;
    [[nodiscard]] QString connector() const;
    [[nodiscard]] QString remotePairingPort() const;
    [[nodiscard]] QString tunnelPortRange() const;
    [[nodiscard]] QString serviceName() const;
    [[nodiscard]] QString host() const;
    [[nodiscard]] QString serviceType() const;
    [[nodiscard]] QString txtRecord() const;
    [[nodiscard]] bool scanning() const;
    [[nodiscard]] double scanFraction() const;
    [[nodiscard]] QString scanText() const;

    /// The user's switch.
    Q_INVOKABLE void setSwitch(bool on);
    Q_INVOKABLE void scan();
    Q_INVOKABLE void stopScan();

 Q_SIGNALS:
    void changed();
    void scanChanged();

 private:
    struct Scan {
        /// Tells this model's scans apart.
        std::uint64_t run = 0;
        /// The coordinator's.
        std::uint64_t number = 0;
        std::size_t probed = 0;
        std::size_t total = 0;
    };
    void refresh();
    [[nodiscard]] const Scan* shownScan() const;

    AppCoordinator& coordinator_;
    QString profileID_;
    std::optional<DeviceProfile> profile_;
    StatusPresentation status_;
    /// Those that run, by profile id.
    std::map<std::string, Scan> scans_;
    std::uint64_t scanCount_ = 0;
    Subscription published_;
};

}  // namespace quillbay

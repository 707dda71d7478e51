#pragma once

#include <QList>
#include <QObject>
#include <QQmlEngine>
#include <QQmlListProperty>
#include <QString>

#include "core/AppCoordinator.h"
#include "platform/LaunchAtLogin.h"
#include "platform/Observers.h"
#include "platform/SettingsStore.h"
#include "ui/models/ProfilesModel.h"
#include "ui/models/ProviderSettingsModel.h"
#include "ui/models/RemovalModel.h"
#include "ui/models/UpdateModel.h"

namespace quillbay {

/// The settings window. Main thread; what it is made of must outlive it.
class SettingsModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    /// As the coordinator publishes it, which this model keeps in step with the desktop.
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin NOTIFY launchAtLoginChanged)
    /// Why the switch could not be set the last time; empty when it could.
    Q_PROPERTY(QString launchAtLoginError READ launchAtLoginError NOTIFY launchAtLoginChanged)
    /// Whether other computers are refused; what holds, also when it could not be saved.
    Q_PROPERTY(bool onlyThisComputer READ onlyThisComputer NOTIFY onlyThisComputerChanged)
    /// Why the switch could not be saved the last time; empty when it could.
    Q_PROPERTY(QString onlyThisComputerError READ onlyThisComputerError NOTIFY onlyThisComputerChanged)
    /// In the registry's order.
    Q_PROPERTY(QQmlListProperty<quillbay::ProviderSettingsModel> providers READ providerList CONSTANT)
    Q_PROPERTY(quillbay::ProfilesModel* profiles READ profiles CONSTANT)
    Q_PROPERTY(quillbay::UpdateModel* updates READ updates CONSTANT)
    /// The question before a device of the list is removed.
    Q_PROPERTY(quillbay::RemovalModel* removal READ removal CONSTANT)

 public:
    SettingsModel(AppCoordinator& coordinator, const SettingsStore& settings, LaunchAtLogin& launchAtLogin,
                  ProfilesModel& profiles, UpdateModel& updates, QObject* parent = nullptr);

    [[nodiscard]] bool launchAtLogin() const;
    [[nodiscard]] QString launchAtLoginError() const { return launchAtLoginError_; }
    [[nodiscard]] bool onlyThisComputer() const;
    [[nodiscard]] QString onlyThisComputerError() const { return onlyThisComputerError_; }
    [[nodiscard]] QList<ProviderSettingsModel*> providers() const { return providers_; }
    [[nodiscard]] QQmlListProperty<ProviderSettingsModel> providerList() { return {this, &providers_}; }
    [[nodiscard]] ProfilesModel* profiles() const { return &profiles_; }
    [[nodiscard]] UpdateModel* updates() const { return &updates_; }
    [[nodiscard]] RemovalModel* removal() { return &removal_; }

    /// When the window appears.
    Q_INVOKABLE void loadPersistedConfig();
    /// The user's switch; `launchAtLogin` says what holds afterwards.
    Q_INVOKABLE void setLaunchAtLogin(bool enabled);
    Q_INVOKABLE void setOnlyThisComputer(bool only);
    /// The user's "Remove" beside a device.
    Q_INVOKABLE void askRemoval(const QString& profileID) {
        removal_.ask(profileID, RemovalModel::Origin::deviceList);
    }
    Q_INVOKABLE void sendDiagnostics();

 Q_SIGNALS:
    void launchAtLoginChanged();
    void onlyThisComputerChanged();

 private:
    AppCoordinator& coordinator_;
    const SettingsStore& settings_;
    LaunchAtLogin& launchAtLogin_;
    ProfilesModel& profiles_;
    UpdateModel& updates_;
    RemovalModel removal_{coordinator_};
    QString launchAtLoginError_;
    QString onlyThisComputerError_;
    QList<ProviderSettingsModel*> providers_;
    Subscription published_;
};

}  // namespace quillbay

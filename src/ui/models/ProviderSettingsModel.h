#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

#include "core/AppCoordinator.h"
#include "platform/Observers.h"
#include "platform/SettingsStore.h"

namespace quillbay {

/// One VPN's block of the settings. Main thread; the coordinator must outlive it.
class ProviderSettingsModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString providerID READ providerID CONSTANT)
    /// "Tailscale CLI path".
    Q_PROPERTY(QString label READ label CONSTANT)
    /// As typed; empty uses the usual place.
    Q_PROPERTY(QString path READ path WRITE setPath NOTIFY pathChanged)
    Q_PROPERTY(bool supportsDeviceList READ supportsDeviceList CONSTANT)
    /// Shown for a provider that cannot list its peers; else empty.
    Q_PROPERTY(QString note READ note CONSTANT)
    Q_PROPERTY(bool testing READ testing NOTIFY resultChanged)
    Q_PROPERTY(Result result READ result NOTIFY resultChanged)
    /// "3 devices found", or the error.
    Q_PROPERTY(QString resultText READ resultText NOTIFY resultChanged)
    /// That the path holds for this run only, and why; empty when it is kept.
    Q_PROPERTY(QString pathNotice READ pathNotice NOTIFY pathChanged)

 public:
    enum class Result { None, Found, Failed };
    Q_ENUM(Result)

    ProviderSettingsModel(AppCoordinator& coordinator, const MeshVPNProviderType& type,
                          QObject* parent = nullptr);

    /// Fills the field with the path that is kept, and forgets the last result. A path that could not be kept
    /// is in use all the same: it stays, and so does what is said about it.
    void load(const SettingsStore& settings);

    [[nodiscard]] QString providerID() const;
    [[nodiscard]] QString label() const;
    [[nodiscard]] QString path() const { return path_; }
    [[nodiscard]] bool supportsDeviceList() const;
    [[nodiscard]] QString note() const;
    [[nodiscard]] bool testing() const { return testing_; }
    [[nodiscard]] Result result() const { return result_; }
    [[nodiscard]] QString resultText() const { return resultText_; }
    [[nodiscard]] QString pathNotice() const { return pathNotice_; }

    /// Every edit is kept at once. What the test had found with another path is forgotten.
    void setPath(const QString& path);

    /// Asks for the peers. While that runs, another call does nothing.
    Q_INVOKABLE void testDeviceList();

 Q_SIGNALS:
    void pathChanged();
    void resultChanged();

 private:
    void show(Result result, const QString& text);
    void endTest();

    AppCoordinator& coordinator_;
    const MeshVPNProviderType& type_;
    QString path_;
    bool testing_ = false;
    Result result_ = Result::None;
    QString resultText_;
    QString pathNotice_;
};

}  // namespace quillbay

#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

#include "core/AppCoordinator.h"
#include "platform/Observers.h"

namespace quillbay {

/// The question before a device is removed; it closes when the device goes. Main thread; the coordinator must
/// outlive it.
class RemovalModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(bool open READ isOpen NOTIFY changed)
    /// `Remove "Spare iPhone SE"?`
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString message READ message NOTIFY changed)

 public:
    /// Where it was asked for, which the message follows.
    enum class Origin { deviceList, dangerZone };

    explicit RemovalModel(AppCoordinator& coordinator, QObject* parent = nullptr);

    /// Asks about the profile with this id; an unknown id asks nothing.
    void ask(const QString& profileID, Origin origin);

    [[nodiscard]] bool isOpen() const { return !profileID_.isEmpty(); }
    [[nodiscard]] QString title() const;
    [[nodiscard]] QString message() const;

    Q_INVOKABLE void confirm();
    Q_INVOKABLE void cancel();

 Q_SIGNALS:
    void changed();

 private:
    void follow();

    AppCoordinator& coordinator_;
    QString profileID_;
    QString displayName_;
    Origin origin_ = Origin::deviceList;
    Subscription published_;
};

}  // namespace quillbay

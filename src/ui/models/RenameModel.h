#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

#include "core/AppCoordinator.h"
#include "platform/Observers.h"

namespace quillbay {

/// The sheet "Rename Device"; it closes when the device goes. Main thread; the coordinator must outlive it.
class RenameModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(bool open READ isOpen NOTIFY openChanged)
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    /// A device must have a name.
    Q_PROPERTY(bool canSave READ canSave NOTIFY textChanged)

 public:
    explicit RenameModel(AppCoordinator& coordinator, QObject* parent = nullptr);

    /// Opens with the profile's name; an unknown id opens nothing.
    void begin(const QString& profileID);

    [[nodiscard]] bool isOpen() const { return !profileID_.isEmpty(); }
    [[nodiscard]] QString text() const { return text_; }
    [[nodiscard]] bool canSave() const;
    void setText(const QString& text);

    Q_INVOKABLE void save();
    Q_INVOKABLE void cancel();

 Q_SIGNALS:
    void openChanged();
    void textChanged();

 private:
    AppCoordinator& coordinator_;
    QString profileID_;
    QString text_;
    Subscription published_;
};

}  // namespace quillbay

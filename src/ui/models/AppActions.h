#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

namespace quillbay {

/// What any window may ask of the program as a whole; the shell carries it out. Main thread.
class AppActions : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")

 public:
    using QObject::QObject;

 Q_SIGNALS:
    /// The main window comes to the front, on the device with this id unless it is empty.
    void showMainWindow(const QString& profileID);
    /// The main window comes to the front with the add-device sheet.
    void addDevice();
    void showSettings();
    void closePanel();
    void quit();
};

}  // namespace quillbay

#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

#include "platform/DesktopServices.h"
#include "platform/Observers.h"
#include "update/UpdateChecker.h"

namespace quillbay {

/// The newer version, in the words of each place that offers it. Main thread; the checker and the desktop
/// must outlive it.
class UpdateModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(bool available READ available NOTIFY changed)
    /// "Quillbay 1.5.0 is available", for the main window; empty without an update, like the next two.
    Q_PROPERTY(QString windowText READ windowText NOTIFY changed)
    /// "Version 1.5.0 is available", for the menu-bar panel.
    Q_PROPERTY(QString panelText READ panelText NOTIFY changed)
    /// "Get 1.5.0", for the settings.
    Q_PROPERTY(QString getText READ getText NOTIFY changed)
    /// "Version 1.4.2": the one that runs.
    Q_PROPERTY(QString versionText READ versionText CONSTANT)
    /// A check has ended well and there is nothing newer.
    Q_PROPERTY(bool upToDate READ upToDate NOTIFY changed)

 public:
    /// `desktop` may be null: then `open` does nothing.
    UpdateModel(UpdateChecker& checker, DesktopServices* desktop, QObject* parent = nullptr);

    [[nodiscard]] bool available() const;
    [[nodiscard]] QString windowText() const;
    [[nodiscard]] QString panelText() const;
    [[nodiscard]] QString getText() const;
    [[nodiscard]] QString versionText() const;
    [[nodiscard]] bool upToDate() const;

    /// Opens the download page in the user's browser.
    Q_INVOKABLE void open();

 Q_SIGNALS:
    void changed();

 private:
    /// As it is shown; there is one.
    [[nodiscard]] QString newVersion() const;

    UpdateChecker& checker_;
    DesktopServices* desktop_;
    Subscription checked_;
};

}  // namespace quillbay

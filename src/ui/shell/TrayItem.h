#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QRect>
#include <QSystemTrayIcon>
#include <memory>
#include <optional>

#include "ui/design/Appearance.h"
#include "ui/models/PanelModel.h"
#include "ui/shell/TrayImage.h"
#include "ui/shell/TrayWatch.h"

namespace quillbay {

/// The item in the menu bar or the tray, for as long as there is a place for it: its picture and its text
/// tell the state of all bridges. Main thread; what it is made of must outlive it.
class TrayItem : public QObject {
    Q_OBJECT

 public:
    TrayItem(QQmlEngine& engine, const Appearance& appearance, PanelModel& model, const TrayWatch& watch);

 Q_SIGNALS:
    /// The user has pressed it. Its place on the screen, which is empty where the desktop does not say.
    void pressed(const QRect& place);

 private:
    /// The item comes when the first place does, and then stays: Qt puts it wherever a tray is.
    void appear();
    void show();
    [[nodiscard]] QString toolTip() const;

    PanelModel& model_;
    const TrayWatch& watch_;
    std::unique_ptr<QObject> look_;
    std::unique_ptr<QSystemTrayIcon> item_;
    std::optional<TraySight> shown_;
};

}  // namespace quillbay

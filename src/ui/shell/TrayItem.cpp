#include "ui/shell/TrayItem.h"

#include <QQmlComponent>
#include <QTextDocument>
#include <QVariant>
#include <stdexcept>

#include "ui/models/UpdateModel.h"

namespace quillbay {

TrayItem::TrayItem(QQmlEngine& engine, const Appearance& appearance, PanelModel& model,
                   const TrayWatch& watch)
    : model_(model), watch_(watch) {
    QQmlComponent component(&engine);
    component.setData("import Quillbay\nTrayLook {}", QUrl());
    look_.reset(component.createWithInitialProperties(
        {{QStringLiteral("model"), QVariant::fromValue(static_cast<QObject*>(&model))}}));
    if (!look_) throw std::runtime_error(component.errorString().toStdString());
    // Later, when the look has followed as well.
    connect(&model, &PanelModel::overallChanged, this, &TrayItem::show, Qt::QueuedConnection);
    connect(model.updates(), &UpdateModel::changed, this, &TrayItem::show, Qt::QueuedConnection);
    connect(&appearance, &Appearance::changed, this, &TrayItem::show, Qt::QueuedConnection);
    connect(&watch, &TrayWatch::changed, this, &TrayItem::appear);
    appear();
}

void TrayItem::appear() {
    if (item_ || !watch_.isAvailable()) return;
    item_ = std::make_unique<QSystemTrayIcon>();
    connect(item_.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        // A double click has been a single one before.
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::Context)
            Q_EMIT pressed(item_->geometry());
    });
    show();
    item_->show();
}

void TrayItem::show() {
    if (!item_) return;
    const TraySight sight{
        .symbol = model_.overall().symbol,
        .color = look_->property("symbolColor").value<QColor>(),
        .dot = model_.updates()->available() ? look_->property("dotColor").value<QColor>() : QColor()};
    item_->setToolTip(toolTip());
    if (shown_ == sight) return;
    shown_ = sight;
    item_->setIcon(trayIcon(sight));
}

QString TrayItem::toolTip() const {
    const QString text = QStringLiteral("Quillbay: ") + model_.overall().text;
    // Trays take what looks like markup for markup.
    return Qt::mightBeRichText(text) ? text.toHtmlEscaped() : text;
}

}  // namespace quillbay

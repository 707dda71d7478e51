// The menu-bar panel, and the item that it opens at.

#include <QPainter>
#include <QQmlComponent>

#include "ui/pictures/Pictured.h"
#include "ui/shell/TrayImage.h"

namespace quillbay {
namespace {

class PanelPictures : public Pictured<WindowFixture> {
 protected:
    /// The item alone, with an update, and both on the grounds of a menu bar.
    void lookAtItem(const QString& name) {
        QQmlComponent component(engine.get());
        component.setData("import Quillbay\nTrayLook {}", QUrl());
        const std::unique_ptr<QObject> look(component.createWithInitialProperties(
            {{QStringLiteral("model"), QVariant::fromValue(static_cast<QObject*>(panel.get()))}}));
        ASSERT_NE(look, nullptr) << component.errorString().toStdString();
        TraySight sight{panel->overall().symbol, look->property("symbolColor").value<QColor>(), {}};
        QImage picture(2 * itemSize, itemSize, QImage::Format_RGB32);
        picture.fill(dark() ? QColor(30, 30, 32) : QColor(244, 244, 246));
        {
            QPainter painter(&picture);
            painter.drawImage(QRect(0, 0, itemSize, itemSize), trayImage(sight, 22, 2));
            sight.dot = look->property("dotColor").value<QColor>();
            painter.drawImage(QRect(itemSize, 0, itemSize, itemSize), trayImage(sight, 22, 2));
        }
        compare(picture, name);
    }
    static constexpr int itemSize = 44;
};

TEST_P(PanelPictures, without_devices) {
    show("MenuBarPanel");
    look("panel-empty");
}

TEST_P(PanelPictures, with_devices_and_an_update) {
    offerUpdate("1.5.0");
    saveAndBridge("Lena's iPhone 16 Pro");
    const DeviceProfile failed = save("QA iPhone 13 mini");
    const DeviceProfile pairing = save("Spare iPhone SE");
    save("An old phone");
    fail(failed);
    pair(pairing);
    log->clear();
    coordinator->logs().user("Bridge is successful.");
    findUpdate();
    show("MenuBarPanel");
    look("panel-devices");
}

TEST_P(PanelPictures, entry_under_the_pointer) {
    show("MenuBarPanel");
    hover(control("Settings"));
    look("panel-hover");
}

TEST_P(PanelPictures, item_off) {
    makeModels();
    lookAtItem("tray-off");
}

TEST_P(PanelPictures, item_pairing) {
    pair(save("Spare iPhone SE"));
    lookAtItem("tray-pairing");
}

TEST_P(PanelPictures, item_active) {
    saveAndBridge("Spare iPhone SE");
    lookAtItem("tray-active");
}

TEST_P(PanelPictures, item_error) {
    fail(save("Spare iPhone SE"));
    lookAtItem("tray-error");
}

INSTANTIATE_TEST_SUITE_P(Appearances, PanelPictures, ::testing::Bool(), appearanceName);

}  // namespace
}  // namespace quillbay

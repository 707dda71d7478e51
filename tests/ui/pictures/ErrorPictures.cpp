// Every sentence that a failed bridge can show, as the badges of one window.

#include <QQmlComponent>
#include <QTest>

#include "core/UserFacingConnectionError.h"
#include "ui/models/Status.h"
#include "ui/pictures/Pictured.h"

namespace quillbay {
namespace {

/// What a bridge or a probe said, one for each sentence, and two that have none of their own.
const std::vector<std::string> failures = {
    "The device is still live on the local network",
    "Could not read local IP of en0",
    "None of the device's addresses responded",
    "The phone isn't exposing remotepairingd on this path",
    "The phone refused the connection",
    "The port is not speaking the RemotePairing protocol",
    "The device is not responding",
    "bind: Address already in use",
    "The control channel failed",
    "No RemotePairing service found",
    "",
    "[bridge] The tunnel's far end closed before its first byte, and the three attempts that followed on the "
    "next "
    "ports of its range were no different: nothing answered there, or nothing that we know of did.",
};

class ErrorPictures : public Pictured<WindowFixture> {
 protected:
    void showBadges() {
        QVariantList badges;
        for (const std::string& failure : failures)
            badges.append(QVariant::fromValue(presentationOf(
                BridgeStatus::error(UserFacingConnectionError::message(failure, "Tailscale")))));
        QQmlComponent component(engine.get());
        component.setData(R"(
            import QtQuick
            import Quillbay
            Window {
                id: window
                required property var badges
                width: 560
                height: column.height + 48
                color: DS.windowFill
                Column {
                    id: column
                    x: 24
                    y: 24
                    spacing: 12
                    Repeater {
                        model: window.badges
                        StatusBadge {
                            required property var modelData
                            status: modelData
                        }
                    }
                }
            })",
                          QUrl());
        QObject* made = component.createWithInitialProperties({{QStringLiteral("badges"), badges}});
        window.reset(qobject_cast<QQuickWindow*>(made));
        ASSERT_NE(window, nullptr) << component.errorString().toStdString();
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }
};

TEST_P(ErrorPictures, all_sentences) {
    makeModels();
    showBadges();
    look("errors");
}

INSTANTIATE_TEST_SUITE_P(Appearances, ErrorPictures, ::testing::Bool(), appearanceName);

}  // namespace
}  // namespace quillbay

#include <gtest/gtest.h>

#include <QApplication>
#include <QStyleHints>

#include "ui/WindowFixture.h"

// Windows that are the same on every computer: without a screen or a graphics card, in the fonts of the
// pictures.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    qputenv("QT_LOGGING_RULES", "qt.qpa.*=false");
    qputenv("FONTCONFIG_FILE", QUILLBAY_PICTURES_FOLDER "/fonts.conf");
    qputenv("QT_SCALE_FACTOR", "1");
    qputenv("QT_FONT_DPI", "96");
    testing::InitGoogleTest(&argc, argv);
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::styleHints()->setCursorFlashTime(0);
    quillbay::WindowFixture::catchQtMessages();
    return RUN_ALL_TESTS();
}

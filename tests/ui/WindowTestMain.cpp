#include <gtest/gtest.h>

#include <QApplication>
#include <QFont>

#include "ui/WindowFixture.h"

// Windows that no screen is needed for, drawn as on a computer without a graphics card.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    qputenv("QT_LOGGING_RULES", "qt.qpa.*=false");
    testing::InitGoogleTest(&argc, argv);
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    quillbay::WindowFixture::catchQtMessages();
    return RUN_ALL_TESTS();
}

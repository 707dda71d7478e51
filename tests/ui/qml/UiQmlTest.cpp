#include <QApplication>
#include <QtQuickTest>

#include "ui/design/QuillbayModule.h"
#include "ui/qml/Setup.h"

// As on a computer without a screen and without a graphics card, unless somebody wants to look.
int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    quillbay::registerQuillbayModule();
    quillbay::Setup setup;
    return quick_test_main_with_setup(argc, argv, "ui_qml_test", QUICK_TEST_SOURCE_DIR, &setup);
}

#include <QAccessible>
#include <QApplication>
#include <QQmlEngine>
#include <QtQuickTest>

#include "ui/design/QuillbayModule.h"

namespace quillbay {

/// Lets the tests in QML find the program's own module and "QuillbayTest".
class Setup : public QObject {
    Q_OBJECT

 public:
    Q_INVOKABLE void qmlEngineAvailable(QQmlEngine* engine) {
        // Before the first control is made: those that exist already would have no names.
        QAccessible::setActive(true);
        engine->setImportPathList(engine->importPathList() << QStringLiteral("qrc:/qt/qml"));
    }
};

}  // namespace quillbay

// As on a computer without a screen and without a graphics card, unless somebody wants to look.
int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    quillbay::registerQuillbayModule();
    quillbay::Setup setup;
    return quick_test_main_with_setup(argc, argv, "ui_qml_test", QUICK_TEST_SOURCE_DIR, &setup);
}

#include "UiQmlTest.moc"

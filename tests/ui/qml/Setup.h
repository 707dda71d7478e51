#pragma once

#include <QAccessible>
#include <QObject>
#include <QQmlEngine>
#include <QStringList>

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

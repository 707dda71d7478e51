// A window of the application's first size with nothing in it, in the same way: what the measured figures of
// the application stand beside. Ends with SIGTERM.

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <cstdio>
#include <cstdlib>
#include <memory>

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nWindow { width: 1024; height: 700; visible: true; title: \"Empty\" }",
                      QUrl());
    const std::unique_ptr<QObject> window(component.create());
    if (!window) {
        std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
        return EXIT_FAILURE;
    }
    return QGuiApplication::exec();
}

#include "ui/shell/GraphicsChoice.h"

#include <unistd.h>

#include <QOpenGLContext>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <filesystem>
#include <string>
#include <system_error>

namespace quillbay {

namespace {

/// A device that renders, and that this user may use (drm(7)).
bool hasGraphicsProcessor() {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/dri", error))
        if (entry.path().filename().string().starts_with("renderD") &&
            ::access(entry.path().c_str(), R_OK | W_OK) == 0)
            return true;
    return false;
}

bool canUseOpenGL() {
    QOpenGLContext context;
    return context.create();
}

}  // namespace

void chooseGraphics() {
    if (qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) return;
    if (!hasGraphicsProcessor() || !canUseOpenGL())
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

}  // namespace quillbay

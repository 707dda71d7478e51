// quillbay: the program with windows. What it consists of is in Application.h.

#include <unistd.h>

#include <QApplication>
#include <QIcon>
#include <QQuickStyle>
#include <QString>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "core/Version.h"
#include "platform/ActivationPolicy.h"
#include "platform/PrintableText.h"
#include "platform/PrintedError.h"
#include "platform/RuntimeFolder.h"
#include "platform/SystemHost.h"
#include "ui/design/QuillbayModule.h"
#include "ui/shell/Application.h"
#include "ui/shell/CommandLine.h"
#include "ui/shell/GraphicsChoice.h"
#include "ui/shell/RunningInstance.h"

namespace {

using namespace quillbay;

std::optional<std::string> environment(const char* name) {
    const char* const value = std::getenv(name);
    if (value == nullptr || *value == '\0') return std::nullopt;
    return value;
}

/// Qt ends the process when there is no display, after a paragraph about its plug-ins; this says so in a
/// sentence.
void sayThatThereIsNoDesktop(QtMsgType type, const QMessageLogContext& /*context*/, const QString& /*text*/) {
    if (type != QtFatalMsg) return;
    std::fputs("quillbay: There is no desktop here to open a window on; quillbay-agent runs without one.\n",
               stderr);
    ::_exit(EXIT_FAILURE);
}

void describe(QApplication& application) {
    QApplication::setApplicationName(QStringLiteral("Quillbay"));
    QApplication::setApplicationVersion(QString::fromUtf8(applicationVersion()));
    QApplication::setDesktopFileName(QStringLiteral("com.local.mirel.Quillbay"));
    // A program that runs from where it was built is in no theme.
    const QString icon = QStringLiteral("com.local.mirel.Quillbay");
    QApplication::setWindowIcon(QIcon::fromTheme(icon, QIcon(QStringLiteral(":/icons/%1.svg").arg(icon))));
    application.setQuitOnLastWindowClosed(false);
}

int runWindows(Application::Start start, const QString& unreachable, char* programName) {
    int count = 1;
    char* arguments[] = {programName, nullptr};
    const QtMessageHandler usual = qInstallMessageHandler(sayThatThereIsNoDesktop);
    QApplication application(count, arguments);
    qInstallMessageHandler(usual);
    describe(application);
    becomeRegularApplication();
    chooseGraphics();
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    registerQuillbayModule();

    // The main queue may hold what lives on a network thread, and the threads post to the main queue: so they
    // stop before it goes, and are gone after it.
    NetworkThreads network;
    QtMainQueue mainQueue;
    int status = 0;
    {
        Application quillbay(mainQueue, network, unreachable);
        quillbay.start(start);
        status = QApplication::exec();
    }
    network.stop();
    return status;
}

int run(StartMode mode, char* programName) {
    constexpr std::chrono::seconds patience{10};
    const bool hidden = mode == StartMode::hidden;
    // Before anything else: a coordinator's first act is to end what an earlier run has left behind, and that
    // must not be what another one is using.
    InstanceClaim claim;
    QString unreachable;
    try {
        const auto runtime = runtimeDirectory();
        claim = claimInstance(prepareRuntimeFolder(runtime), controlSocketPath(runtime),
                              hidden ? WhenRunning::leaveAlone : WhenRunning::activate,
                              environment("XDG_ACTIVATION_TOKEN"), patience);
    } catch (const std::exception& error) {
        // It runs all the same: the person at the screen needs neither the lock nor the socket.
        unreachable =
            QStringLiteral("Quillbay can't be reached from a terminal, nor see whether it runs twice: ") +
            QString::fromStdString(printable(printedError(error)));
    }
    if (claim.activated) {
        if (!hidden) std::puts("Quillbay is running already; its window has been brought to the front.");
        return 0;
    }
    if (!claim.lock && unreachable.isEmpty()) {
        std::fprintf(stderr, "quillbay: %s\n", claim.refusal.c_str());
        return 1;
    }
    prepareProcess();
    return runWindows(hidden ? Application::Start::hidden : Application::Start::window, unreachable,
                      programName);
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const std::optional<StartMode> mode = parseCommandLine(words);
    if (!mode) {
        std::fprintf(stderr, "quillbay: %s\n%s", wrongUsage(words).c_str(), usageText);
        return 2;
    }
    if (mode == StartMode::help) {
        std::fputs(usageText, stdout);
        return 0;
    }
    if (mode == StartMode::version) {
        std::printf("quillbay %s\n", applicationVersion());
        return 0;
    }
    try {
        return run(*mode, argv[0]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillbay: %s\n", printedError(error).c_str());
        return 1;
    }
}

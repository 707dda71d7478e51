// quillbayctl: what the running program does, from a terminal. It asks at the control socket, prints the
// answer and ends.

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ctl/CommandLine.h"
#include "ctl/DocumentText.h"
#include "ctl/Screen.h"
#include "ctl/ServerConnection.h"
#include "platform/FileLocations.h"
#include "platform/PrintableText.h"
#include "platform/PrintedError.h"
#include "platform/RuntimeFolder.h"

namespace quillbay::ctl {
namespace {

enum ExitStatus { succeeded = 0, refused = 1, wrongUsage = 2, nothingRunning = 3, interrupted = 130 };

int fail(ExitStatus status, std::string_view sentence) {
    const std::string line = "quillbayctl: " + printable(sentence) + "\n";
    std::fputs(line.c_str(), stderr);
    return status;
}

/// The connection ends with the process, and what only served it ends with that.
extern "C" void endAtOnce(int /*signal*/) {
    // The shell's next prompt gets a line of its own. If that cannot be written, there is no line to leave.
    if (progressIsShown != 0 && ::write(STDOUT_FILENO, "\n", 1) != 1) ::_exit(interrupted);
    ::_exit(interrupted);
}

/// Not where whoever started the program wants it to ignore Ctrl-C, as a shell does in the background.
void endOnInterrupt() {
    struct sigaction before{};
    if (::sigaction(SIGINT, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) return;
    std::signal(SIGINT, endAtOnce);
}

/// Shows one document. True when the answer is at its end, with `status` as that of the program, or when
/// nobody is left to read what is still to come.
bool show(const Ask& ask, const std::string& document, Screen& screen, int& status) {
    const ShownDocument shown =
        showDocument(ask.command, document, Style::of(screen.isTerminal()), std::chrono::system_clock::now());
    using Kind = ShownDocument::Kind;
    // The empty document that ends a list says nothing by itself.
    const bool isEnd = shown.kind == Kind::last && shown.text.empty();
    if (ask.json && !isEnd)
        screen.print(document + "\n");
    else if (shown.kind == Kind::progress)
        screen.showProgress(shown.text);
    else if (shown.kind != Kind::refused)
        screen.print(shown.text);
    if (shown.kind != Kind::refused) return shown.kind == Kind::last || screen.readerIsGone();
    screen.clearProgress();
    status = fail(refused, shown.text);
    return true;
}

int execute(const Ask& ask) {
    Screen screen;
    ServerConnection server(controlSocketPath(runtimeDirectory()));
    server.send(ask.request);
    int status = succeeded;
    while (const auto document = server.receive(STDOUT_FILENO))
        if (show(ask, *document, screen, status)) return status;
    screen.clearProgress();
    throw NothingRunning("The running program has ended.");
}

int execute(const PrintHelp& /*help*/) {
    Screen().print(usageText);
    return succeeded;
}

int execute(const PrintVersion& /*version*/) {
    Screen().print("quillbayctl " QUILLBAY_VERSION "\n");
    return succeeded;
}

int execute(const UsageError& error) {
    if (!error.reason.empty()) fail(wrongUsage, error.reason + ".");
    std::fputs(std::string(usageText).c_str(), stderr);
    return wrongUsage;
}

}  // namespace
}  // namespace quillbay::ctl

int main(int argc, char** argv) {
    using namespace quillbay;
    // A reader that goes away is seen where it is written to.
    std::signal(SIGPIPE, SIG_IGN);
    ctl::endOnInterrupt();
    try {
        const ctl::CommandLine commandLine =
            ctl::parseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
        return std::visit([](const auto& command) { return ctl::execute(command); }, commandLine);
    } catch (const ctl::ReaderGone&) {
        return ctl::succeeded;
    } catch (const ctl::NothingRunning& nothing) {
        return ctl::fail(ctl::nothingRunning, nothing.what());
    } catch (const ctl::UnexpectedDocument& unexpected) {
        return ctl::fail(ctl::refused, std::string("The answer makes no sense: ") + unexpected.what());
    } catch (const std::exception& error) {
        return ctl::fail(ctl::refused, printedError(error));
    }
}

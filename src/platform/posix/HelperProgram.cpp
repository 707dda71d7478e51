#include "platform/posix/HelperProgram.h"

#include <cerrno>
#include <memory>
#include <optional>
#include <system_error>

#include "platform/ChildProcess.h"

namespace quillbay {

namespace {

/// The status of a child that ends within `limit` and before the stop.
std::optional<ExitStatus> endWithin(const ChildProcess& child, std::chrono::milliseconds limit,
                                    const StopToken& token) {
    // Ends the sleep from either side: nothing else waits for a time and an event.
    const StopSource over;
    child.onExit([over](ExitStatus) { over.requestStop(); });
    const StopRegistration registration = token.onStop([over] { over.requestStop(); });
    over.token().sleepFor(limit);
    if (child.isRunning()) return std::nullopt;
    return child.waitForExit();
}

}  // namespace

HelperOutcome runHelper(const HostTools::Tool& tool, const std::vector<std::string>& arguments,
                        std::chrono::milliseconds patience, const StopToken& token) {
    if (tool.executable.empty()) return HelperOutcome::missing;
    ChildCommand command;
    command.executable = tool.executable;
    command.arguments = tool.leadingArguments;
    command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
    command.environment = tool.environment;
    try {
        const ChildProcess child = ChildProcess::launch(command);
        const std::optional<ExitStatus> status = endWithin(child, patience, token);
        return !status || status->success() ? HelperOutcome::done : HelperOutcome::failed;
    } catch (const std::system_error& error) {
        return error.code().value() == ENOENT ? HelperOutcome::missing : HelperOutcome::failed;
    }
}

}  // namespace quillbay

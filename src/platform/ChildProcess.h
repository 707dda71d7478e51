#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/StopToken.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// How a child ended.
struct ExitStatus {
    /// The exit status; for a child ended by a signal, 128 + the signal's number.
    int code = 0;
    /// The signal that ended it, 0 for none.
    int signal = 0;
    [[nodiscard]] bool success() const { return code == 0; }
};

/// What to start, and where its output goes. Standard input is always the null device.
struct ChildCommand {
    enum class Output { null, pipe };

    std::string executable;
    std::vector<std::string> arguments;
    Output standardOutput = Output::null;
    Output standardError = Output::null;
    /// Changes of this program's own environment: a variable's new value, or nothing to remove it.
    std::map<std::string, std::optional<std::string>> environment = {};
    /// The permissions that files which it makes shall lack (umask(2)); nothing: as this program's own.
    std::optional<mode_t> creationMask = std::nullopt;
};

/// A running child process, and its status after its end.
///
/// The child leads a process group of its own, starts with default signal handling, the descriptor limit that
/// this process had at its start, and no descriptor but its three standard ones. It is reaped as soon as it
/// ends, whether or not anybody waits; until then its process id cannot be reused, so `terminate` never hits
/// a stranger. Copies are the same child. Dropping the last copy neither ends the child nor leaves a zombie.
/// All members may be called on any thread.
class ChildProcess {
 public:
    /// Starts the child. Throws std::system_error (ENOENT, EACCES, EMFILE, EAGAIN …) when it cannot be
    /// launched; nothing is left behind then.
    static ChildProcess launch(const ChildCommand& command);

    [[nodiscard]] pid_t pid() const;

    /// False once the child has ended.
    [[nodiscard]] bool isRunning() const;

    /// Asks the child and what it has started in its group to end (SIGTERM) without waiting. Nothing happens
    /// once the child has ended.
    void terminate() const;

    /// Blocks until the child has ended: for ever, if it does not.
    [[nodiscard]] ExitStatus waitForExit() const;

    /// Blocks until the child has ended or `token` is stopped; nothing in the second case.
    [[nodiscard]] std::optional<ExitStatus> waitForExit(const StopToken& token) const;

    /// Asks the child to end and blocks until it has. A child that is still there after `grace` is made to
    /// end (SIGKILL, which a child cannot ignore), so the call takes little longer than that.
    ExitStatus terminateAndWait(std::chrono::milliseconds grace = std::chrono::seconds(2)) const;

    /// Has `handler` run once when the child has ended, on a thread of its own; at once, on this thread, when
    /// it has ended already.
    void onExit(std::function<void(ExitStatus)> handler) const;

    /// The reading ends of the pipes, non-blocking; each may be taken once and is invalid when there is none.
    [[nodiscard]] UniqueDescriptor takeStandardOutput() const;
    [[nodiscard]] UniqueDescriptor takeStandardError() const;

 private:
    struct State;
    explicit ChildProcess(std::shared_ptr<State> state);
    std::shared_ptr<State> state_;
};

/// What a child that was run to its end printed.
struct ChildResult {
    ExitStatus status;
    std::string standardOutput;
    std::string standardError;
    /// True when the child printed more than the limit: the rest was read and dropped.
    bool truncated = false;
};

/// Runs a child to its end and reads both outputs at the same time (where the command asks for them), each up
/// to `limitBytes`. Blocks until the child has ended and its pipes are closed, until `token` is stopped or
/// `limit` has passed: in the last two cases the child is ended and the result is empty. Throws
/// std::system_error when the child cannot be launched.
std::optional<ChildResult> runToEnd(const ChildCommand& command, std::size_t limitBytes,
                                    const StopToken& token,
                                    std::optional<std::chrono::milliseconds> limit = std::nullopt);

}  // namespace quillbay

#include "platform/SystemCallTrace.h"

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <optional>
#include <stdexcept>

namespace quillbay {

namespace {

[[noreturn]] void runTraced(const std::function<void()>& body) {
    if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) ::_exit(1);
    ::raise(SIGSTOP);
    try {
        body();
    } catch (...) {
        ::_exit(2);
    }
    ::_exit(0);
}

void require(bool condition, const char* what) {
    if (!condition) throw std::runtime_error(what);
}

bool isSystemCallStop(int status) {
    return WIFSTOPPED(status) && WSTOPSIG(status) == (SIGTRAP | 0x80);
}

/// The call before which the child stands; nothing when it returns from one.
std::optional<SystemCall> enteredCall(pid_t child) {
    __ptrace_syscall_info info{};
    const long size = ::ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
    require(size > 0, "system calls cannot be seen");
    if (info.op != PTRACE_SYSCALL_INFO_ENTRY) return std::nullopt;
    return SystemCall{static_cast<long>(info.entry.nr), info.entry.args[2]};
}

}  // namespace

TracedRun runAndKillAfter(std::size_t steps, const std::function<void()>& body) {
    const pid_t child = ::fork();
    require(child >= 0, "fork");
    if (child == 0) runTraced(body);
    int status = 0;
    require(::waitpid(child, &status, 0) == child && WIFSTOPPED(status), "the child cannot be traced");
    ::ptrace(PTRACE_SETOPTIONS, child, 0, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);

    TracedRun run;
    for (std::size_t step = 0; step < steps; ++step) {
        require(::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0, "the child cannot be resumed");
        require(::waitpid(child, &status, 0) == child, "waitpid");
        if (WIFEXITED(status)) {
            require(WEXITSTATUS(status) == 0, "the child failed");
            run.finished = true;
            return run;
        }
        require(isSystemCallStop(status), "the child stopped for another reason");
        if (const auto call = enteredCall(child)) run.calls.push_back(*call);
    }
    ::kill(child, SIGKILL);
    require(::waitpid(child, &status, 0) == child && WIFSIGNALED(status), "the child cannot be killed");
    return run;
}

std::vector<SystemCall> systemCallsOf(const std::function<void()>& body) {
    constexpr std::size_t enough = 10'000;
    TracedRun run = runAndKillAfter(enough, body);
    require(run.finished, "the child does not come to its end");
    std::erase_if(run.calls, [](const SystemCall& call) {
        return call.number == SYS_exit_group || call.number == SYS_sigaltstack;
    });
    return run.calls;
}

}  // namespace quillbay

#include "platform/posix/ChildSpawn.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/DescriptorLimit.h"
#include "platform/PrintedError.h"
#include "platform/posix/ChildDescriptors.h"

// Declared by POSIX, but in no header.
extern char** environ;  // NOLINT(readability-redundant-declaration): some systems do declare it

namespace quillbay {

namespace {

constexpr int firstOwnDescriptor = 3;

/// All that the child needs between fork and exec, where it may neither allocate nor lock.
struct Preparation {
    const char* executable = nullptr;
    char* const* arguments = nullptr;
    char* const* environment = nullptr;
    std::array<int, 3> standard{};
    int failure = -1;
    rlimit descriptorLimit{};
    std::optional<mode_t> creationMask;
};

/// Moves a descriptor out of the way of the three standard ones: this program may have been started without
/// them.
UniqueDescriptor aboveStandard(UniqueDescriptor descriptor) {
    if (descriptor.get() >= firstOwnDescriptor) return descriptor;
    UniqueDescriptor moved(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, firstOwnDescriptor));
    if (!moved.valid()) throw systemError(errno);
    return moved;
}

PipeEnds openPipeAboveStandard() {
    PipeEnds ends = openPipe();
    ends.reading = aboveStandard(std::move(ends.reading));
    ends.writing = aboveStandard(std::move(ends.writing));
    return ends;
}

/// The pipe for an output, with a reading end that never blocks; no pipe where the command asks for none.
PipeEnds openOutput(ChildCommand::Output output) {
    if (output == ChildCommand::Output::null) return {};
    PipeEnds ends = openPipeAboveStandard();
    const int flags = ::fcntl(ends.reading.get(), F_GETFL);
    if (flags < 0 || ::fcntl(ends.reading.get(), F_SETFL, flags | O_NONBLOCK) != 0) throw systemError(errno);
    return ends;
}

UniqueDescriptor openNullDevice() {
    int descriptor = -1;
    do {
        descriptor = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) throw systemError(errno);
    return aboveStandard(UniqueDescriptor(descriptor));
}

/// The executable and its arguments, ended by a null pointer. They point into `command`.
std::vector<char*> argumentVector(const ChildCommand& command) {
    std::vector<char*> pointers;
    pointers.reserve(command.arguments.size() + 2);
    const auto add = [&pointers](const std::string& text) {
        // A C string would carry only what stands before the zero byte, which is not what was asked for.
        if (text.find('\0') != std::string::npos) throw systemError(EINVAL);
        pointers.push_back(const_cast<char*>(text.c_str()));
    };
    add(command.executable);
    for (const std::string& argument : command.arguments)
        add(argument);
    pointers.push_back(nullptr);
    return pointers;
}

/// This program's environment with the command's changes, as "NAME=VALUE".
std::vector<std::string> environmentOf(const ChildCommand& command) {
    std::vector<std::string> entries;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        if (!command.environment.contains(std::string(text.substr(0, text.find('=')))))
            entries.emplace_back(text);
    }
    for (const auto& [name, value] : command.environment)
        if (value) entries.push_back(name + "=" + *value);
    return entries;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// With SIGCHLD ignored, which a program can inherit, the system would reap children and forget their status.
void makeChildrenWaitable() {
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction action{};
        if (::sigaction(SIGCHLD, nullptr, &action) != 0 || action.sa_handler != SIG_IGN) return;
        action.sa_handler = SIG_DFL;
        ::sigaction(SIGCHLD, &action, nullptr);
    });
}

/// Gives every signal its default meaning. The caller has blocked them all.
void resetSignals() noexcept {
    struct sigaction action{};
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    // Refused for SIGKILL, SIGSTOP and those that the C library keeps for itself: these need no reset.
    for (int number = 1; number < NSIG; ++number)
        ::sigaction(number, &action, nullptr);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// The child's side of the fork: async-signal-safe calls only, since other threads may have held any lock.
[[noreturn]] void becomeProgram(const Preparation& preparation) noexcept {
    // First of all, because it is refused for some signals, and the error that is reported must be one that
    // counts.
    resetSignals();
    bool prepared = ::setpgid(0, 0) == 0;
    for (int target = 0; target < firstOwnDescriptor; ++target)
        prepared =
            prepared && ::dup2(preparation.standard[static_cast<std::size_t>(target)], target) == target;
    if (prepared) closeOnExecFrom(firstOwnDescriptor);
    prepared = prepared && ::setrlimit(RLIMIT_NOFILE, &preparation.descriptorLimit) == 0;
    if (preparation.creationMask) ::umask(*preparation.creationMask);
    if (prepared) ::execve(preparation.executable, preparation.arguments, preparation.environment);
    const int code = errno;
    // Nobody is left to be told when this fails; the parent then takes the child's end for the program's.
    [[maybe_unused]] const ssize_t written = ::write(preparation.failure, &code, sizeof code);
    ::_exit(127);
}

pid_t forkProgram(const Preparation& preparation) {
    // A signal between fork and exec would run this program's handlers in the child, on descriptors that both
    // share.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t pid = ::fork();
    if (pid == 0) becomeProgram(preparation);
    const int code = errno;
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (pid < 0) throw systemError(code);
    return pid;
}

/// Waits until the child's program runs; the error number when it does not come to that, else 0.
int launchFailure(int reading) {
    int code = 0;
    ssize_t count = 0;
    do {
        count = ::read(reading, &code, sizeof code);
    } while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(sizeof code) ? code : 0;
}

void reap(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
}

}  // namespace

SpawnedChild spawnChild(const ChildCommand& command) {
    makeChildrenWaitable();
    const std::vector<char*> arguments = argumentVector(command);
    std::vector<std::string> environmentEntries = environmentOf(command);
    const std::vector<char*> environment = pointersTo(environmentEntries);
    const UniqueDescriptor null = openNullDevice();
    PipeEnds output = openOutput(command.standardOutput);
    PipeEnds error = openOutput(command.standardError);
    PipeEnds failure = openPipeAboveStandard();

    const auto orNull = [&null](const PipeEnds& ends) {
        return ends.writing.valid() ? ends.writing.get() : null.get();
    };
    Preparation preparation;
    preparation.executable = command.executable.c_str();
    preparation.arguments = arguments.data();
    preparation.environment = environment.data();
    preparation.standard = {null.get(), orNull(output), orNull(error)};
    preparation.failure = failure.writing.get();
    preparation.descriptorLimit = originalDescriptorLimit();
    preparation.creationMask = command.creationMask;

    const pid_t pid = forkProgram(preparation);
    failure.writing.reset();
    if (const int code = launchFailure(failure.reading.get()); code != 0) {
        reap(pid);
        throw systemError(code);
    }
    return {pid, std::move(output.reading), std::move(error.reading)};
}

}  // namespace quillbay

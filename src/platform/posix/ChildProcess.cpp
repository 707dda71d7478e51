#include "platform/ChildProcess.h"

#include <pthread.h>
#include <sys/wait.h>

#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/PrintedError.h"
#include "platform/ThreadName.h"
#include "platform/posix/ChildSpawn.h"

namespace quillbay {

namespace {

using ExitHandler = std::function<void(ExitStatus)>;

/// What the copies of a child share with the thread that waits for it.
struct Life {
    std::mutex mutex;
    std::condition_variable changed;
    pid_t pid = 0;
    bool launchFailed = false;
    std::optional<ExitStatus> status;
    std::vector<ExitHandler> handlers;
};

ExitStatus decoded(int status) {
    if (WIFSIGNALED(status)) return {128 + WTERMSIG(status), WTERMSIG(status)};
    return {WEXITSTATUS(status), 0};
}

/// Blocks until the child has ended, without reaping it.
void waitForEnd(pid_t pid) {
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
}

/// Reaps the child if it has ended. The caller holds the mutex under which signals are sent, so that none can
/// go to a process id that is free again.
std::optional<ExitStatus> reapIfEnded(pid_t pid) {
    int status = 0;
    pid_t result = 0;
    do {
        result = ::waitpid(pid, &status, WNOHANG);
    } while (result < 0 && errno == EINTR);
    if (result == 0) return std::nullopt;
    // Something else in this process waited for a child that it did not start: how it ended is lost.
    if (result < 0) return ExitStatus{255, 0};
    return decoded(status);
}

void watch(Life& life) {
    std::unique_lock lock(life.mutex);
    life.changed.wait(lock, [&life] { return life.pid != 0 || life.launchFailed; });
    if (life.launchFailed) return;
    const pid_t pid = life.pid;
    while (!life.status) {
        lock.unlock();
        waitForEnd(pid);
        lock.lock();
        life.status = reapIfEnded(pid);
        if (life.status) break;
        // The Mac's waitid also returns for a child that is only stopped, and would do so without a pause.
        lock.unlock();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        lock.lock();
    }
    const ExitStatus status = *life.status;
    std::vector<ExitHandler> handlers = std::exchange(life.handlers, {});
    life.changed.notify_all();
    lock.unlock();
    for (ExitHandler& handler : handlers)
        std::exchange(handler, {})(status);
}

extern "C" void* quillbayWatchChild(void* argument) {
    const std::unique_ptr<std::shared_ptr<Life>> life(static_cast<std::shared_ptr<Life>*>(argument));
    setThreadName("child-watch");
    watch(**life);
    return nullptr;
}

/// Starts the thread that reaps the child. Throws std::system_error when there is none to be had.
void startWatching(const std::shared_ptr<Life>& life) {
    // Waiting and posting need little; the usual 8 MiB (of addresses) for each of some hundred children is
    // too much.
    constexpr std::size_t stackBytes = std::size_t{256} * 1024;
    auto argument = std::make_unique<std::shared_ptr<Life>>(life);
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, stackBytes);
    ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    // The new thread takes over the mask: signals are for the threads that expect them.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread{};
    const int code = ::pthread_create(&thread, &attributes, quillbayWatchChild, argument.get());
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ::pthread_attr_destroy(&attributes);
    if (code != 0) throw systemError(code);
    [[maybe_unused]] const auto* const handedOver = argument.release();
}

}  // namespace

/// Pipes that nobody took close with the last copy, although the watching thread stays.
struct ChildProcess::State {
    std::shared_ptr<Life> life = std::make_shared<Life>();
    std::mutex pipesMutex;
    UniqueDescriptor standardOutput;
    UniqueDescriptor standardError;
};

ChildProcess::ChildProcess(std::shared_ptr<State> state) : state_(std::move(state)) {}

ChildProcess ChildProcess::launch(const ChildCommand& command) {
    auto state = std::make_shared<State>();
    Life& life = *state->life;
    // First the thread: a child that nobody can reap must not be started.
    startWatching(state->life);
    try {
        SpawnedChild spawned = spawnChild(command);
        state->standardOutput = std::move(spawned.standardOutput);
        state->standardError = std::move(spawned.standardError);
        const std::lock_guard lock(life.mutex);
        life.pid = spawned.pid;
        life.changed.notify_all();
    } catch (...) {
        const std::lock_guard lock(life.mutex);
        life.launchFailed = true;
        life.changed.notify_all();
        throw;
    }
    return ChildProcess(std::move(state));
}

pid_t ChildProcess::pid() const {
    const std::lock_guard lock(state_->life->mutex);
    return state_->life->pid;
}

bool ChildProcess::isRunning() const {
    const std::lock_guard lock(state_->life->mutex);
    return !state_->life->status;
}

void ChildProcess::terminate() const {
    const std::lock_guard lock(state_->life->mutex);
    if (state_->life->status) return;
    // The whole group, because some tools are scripts that wait for the real one. Refused only where the
    // child has moved to another group, or has given itself another user, which no tool of ours does.
    if (::kill(-state_->life->pid, SIGTERM) != 0) ::kill(state_->life->pid, SIGTERM);
}

ExitStatus ChildProcess::waitForExit() const {
    Life& life = *state_->life;
    std::unique_lock lock(life.mutex);
    life.changed.wait(lock, [&life] { return life.status.has_value(); });
    return life.status.value_or(ExitStatus{});
}

std::optional<ExitStatus> ChildProcess::waitForExit(const StopToken& token) const {
    const std::shared_ptr<Life> life = state_->life;
    // Registered before the lock is taken and ended after it is given back: the callback takes it too.
    const StopRegistration registration = token.onStop([life] {
        const std::lock_guard lock(life->mutex);
        life->changed.notify_all();
    });
    std::unique_lock lock(life->mutex);
    life->changed.wait(lock, [&life, &token] { return life->status || token.stopRequested(); });
    return life->status;
}

ExitStatus ChildProcess::terminateAndWait(std::chrono::milliseconds grace) const {
    terminate();
    Life& life = *state_->life;
    const auto ended = [&life] { return life.status.has_value(); };
    std::unique_lock lock(life.mutex);
    if (!life.changed.wait_for(lock, grace, ended)) {
        ::kill(-life.pid, SIGKILL);
        // In case it has moved to another group.
        ::kill(life.pid, SIGKILL);
        life.changed.wait(lock, ended);
    }
    return life.status.value_or(ExitStatus{});
}

void ChildProcess::onExit(std::function<void(ExitStatus)> handler) const {
    Life& life = *state_->life;
    std::unique_lock lock(life.mutex);
    if (!life.status) {
        life.handlers.push_back(std::move(handler));
        return;
    }
    const ExitStatus status = *life.status;
    lock.unlock();
    handler(status);
}

UniqueDescriptor ChildProcess::takeStandardOutput() const {
    const std::lock_guard lock(state_->pipesMutex);
    return std::move(state_->standardOutput);
}

UniqueDescriptor ChildProcess::takeStandardError() const {
    const std::lock_guard lock(state_->pipesMutex);
    return std::move(state_->standardError);
}

}  // namespace quillbay

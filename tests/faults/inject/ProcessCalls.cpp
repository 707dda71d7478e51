// The functions for processes, threads and signals.

#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Faults.h"

using quillbay::faults::callOrFail;
using quillbay::faults::callOrReturnCode;

extern "C" {

int pipe(int* ends) noexcept {
    return callOrFail<"pipe">(-1, ends);
}

int pipe2(int* ends, int flags) noexcept {
    return callOrFail<"pipe2">(-1, ends, flags);
}

pid_t fork() noexcept {
    const pid_t child = callOrFail<"fork">(pid_t{-1});
    if (child == 0) quillbay::faults::nowInForkedChild();
    return child;
}

int execve(const char* path, char* const* arguments, char* const* environment) noexcept {
    return callOrFail<"execve">(-1, path, arguments, environment);
}

int posix_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment) {
    return callOrReturnCode<"posix_spawn">(child, path, actions, attributes, arguments, environment);
}

pid_t waitpid(pid_t child, int* status, int options) {
    return callOrFail<"waitpid">(pid_t{-1}, child, status, options);
}

int waitid(idtype_t type, id_t child, siginfo_t* info, int options) {
    return callOrFail<"waitid">(-1, type, child, info, options);
}

int kill(pid_t process, int signal) noexcept {
    return callOrFail<"kill">(-1, process, signal);
}

int dup2(int descriptor, int target) noexcept {
    return callOrFail<"dup2">(-1, descriptor, target);
}

int setpgid(pid_t process, pid_t group) noexcept {
    return callOrFail<"setpgid">(-1, process, group);
}

int getrlimit(__rlimit_resource_t resource, rlimit* limit) noexcept {
    return callOrFail<"getrlimit">(-1, resource, limit);
}

int setrlimit(__rlimit_resource_t resource, const rlimit* limit) noexcept {
    return callOrFail<"setrlimit">(-1, resource, limit);
}

int sigaction(int signal, const struct sigaction* action, struct sigaction* old) noexcept {
    return callOrFail<"sigaction">(-1, signal, action, old);
}

int pthread_sigmask(int how, const sigset_t* mask, sigset_t* old) noexcept {
    return callOrReturnCode<"pthread_sigmask">(how, mask, old);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*),
                   void* argument) noexcept {
    return callOrReturnCode<"pthread_create">(thread, attributes, function, argument);
}

}  // extern "C"

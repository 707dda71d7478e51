#pragma once

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include "platform/PrintedError.h"

namespace quillbay::fakes {

/// Mounts an empty disk of `bytes` on `folder`; throws when the system refuses.
inline void mountSmallDisk(const std::filesystem::path& folder, std::size_t bytes) {
    const std::string options = "mode=0700,size=" + std::to_string(bytes);
    if (::mount("none", folder.c_str(), "tmpfs", 0, options.c_str()) != 0) throw systemError(errno);
}

/// Makes a disk that `mountSmallDisk` mounted read-only.
inline void makeReadOnly(const std::filesystem::path& folder) {
    if (::mount("none", folder.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0)
        throw systemError(errno);
}

/// Runs `body` in a child process with mounts of its own, which vanish with it, and returns what went wrong
/// there; the empty text when nothing did. `body` returns such a text too, and must not use gtest.
template <typename Body>
std::string inPrivateMounts(Body body) {
    int pipe[2];
    if (::pipe(pipe) != 0) return "no pipe";
    const pid_t child = ::fork();
    if (child < 0) return "no child";
    if (child == 0) {
        std::string problem;
        try {
            // Only the super-user may mount, or whoever makes a name space of users first.
            const int spaces = CLONE_NEWNS | (::geteuid() == 0 ? 0 : CLONE_NEWUSER);
            if (::unshare(spaces) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
                problem = std::string("no private mounts: ") + std::strerror(errno);
            } else {
                problem = body();
            }
        } catch (const std::exception& error) {
            problem = std::string("exception: ") + error.what();
        }
        const bool told =
            ::write(pipe[1], problem.data(), problem.size()) == static_cast<ssize_t>(problem.size());
        ::_exit(told && problem.empty() ? 0 : 1);
    }
    ::close(pipe[1]);
    std::string problem;
    char buffer[4096];
    for (ssize_t count = 0; (count = ::read(pipe[0], buffer, sizeof buffer)) > 0;) {
        problem.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(pipe[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (problem.empty() && status != 0)
        problem = "the child ended with wait status " + std::to_string(status);
    return problem;
}

}  // namespace quillbay::fakes

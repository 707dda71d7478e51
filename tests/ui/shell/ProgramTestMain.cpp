// Each run of the program's tests has processes, a network and a place for displays of its own: the program
// ends every proxy registration that it sees at its start, and what it leaves behind must be seen.

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <string>

#include "platform/ForkedChild.h"
#include "platform/PrintedError.h"

namespace {

/// In the first process of the new world.
int runTests() {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    constexpr const char* displays = "/tmp/.X11-unix";
    constexpr mode_t forAll = 01777;
    ::mkdir(displays, forAll);
    if (::mount("proc", "/proc", "proc", 0, nullptr) != 0 ||
        ::mount("none", displays, "tmpfs", 0, "mode=1777") != 0)
        throw quillbay::systemError(errno);
    return RUN_ALL_TESTS();
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();
    try {
        quillbay::enterNamespaces(CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWPID);
        const pid_t child = ::fork();
        if (child == 0) return runTests();
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "no surroundings for the tests: %s\n", quillbay::printedError(error).c_str());
        return 1;
    }
}

#include "platform/ForkedChild.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace quillbay {

namespace {

int runBody(const std::function<void()>& body) {
    constexpr unsigned limitSeconds = 60;
    ::alarm(limitSeconds);
    try {
        body();
    } catch (const std::exception& error) {
        ADD_FAILURE() << "exception: " << error.what();
    }
    return testing::Test::HasFailure() ? 1 : 0;
}

void writeFile(const char* path, const std::string& text) {
    std::ofstream file(path);
    file << text;
    if (!file.flush()) throw std::system_error(errno, std::generic_category(), path);
}

void check(int result, const char* what) {
    if (result != 0) throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

void inChild(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const int status = runBody(body);
        std::fflush(nullptr);
        ::_exit(status);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "the child was ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0) << "see the child's failures above";
}

void enterNamespaces(int flags) {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    check(::unshare(user == 0 ? flags : flags | CLONE_NEWUSER), "unshare");
    if (user != 0) {
        writeFile("/proc/self/setgroups", "deny");
        writeFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
        writeFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    }
    if ((flags & CLONE_NEWNS) != 0)
        check(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "mount");
}

void shell(const std::string& command) {
    const std::string complete = "PATH=$PATH:/usr/sbin:/sbin; " + command;
    EXPECT_EQ(std::system(complete.c_str()), 0) << command;
}

void addInterface(const std::string& name) {
    static int peers = 0;
    const std::string peer = "peer" + std::to_string(++peers);
    shell("ip link add name " + name + " type veth peer name " + peer + " && ip link set " + peer + " up");
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/dev/fd"))
        ++count;
    return count;
}

}  // namespace quillbay

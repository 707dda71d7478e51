#include "fakes/NetworkNamespace.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace quillbay::fakes {

void inNetworkNamespace(const std::function<void()>& body) {
    std::thread([&body] {
        ASSERT_EQ(::unshare(CLONE_NEWNET), 0) << "no network namespace: " << std::strerror(errno);
        body();
    }).join();
}

void shell(const std::string& command) { EXPECT_EQ(std::system(command.c_str()), 0) << command; }

}  // namespace quillbay::fakes

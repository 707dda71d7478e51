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

void shell(const std::string& command) {
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

void makeInterface(const std::string& name, const std::string& address) {
    const std::string end = name + "-end";
    shell("ip link add name " + name + " type veth peer name " + end + " && ip link set " + end +
          " up && ip link set " + name + " up" +
          (address.empty() ? "" : " && ip addr add " + address + " dev " + name));
}

void makeBlackHole(const std::string& interface, const std::string& address) {
    shell("ip neigh add " + address + " lladdr 02:00:00:00:00:77 nud permanent dev " + interface);
}

}  // namespace quillbay::fakes

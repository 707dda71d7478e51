#pragma once

#include <functional>
#include <string>

namespace quillbay::fakes {

/// Runs `body` on a thread that has a network of its own, empty but for a loopback interface that is down. Threads and
/// children that the body starts are in it too; it is gone when they are. Needs root, on Linux; fails the test without.
void inNetworkNamespace(const std::function<void()>& body);

/// Runs a shell command in the calling thread's network; fails the test when the command fails.
void shell(const std::string& command);

}  // namespace quillbay::fakes

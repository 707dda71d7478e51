#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace quillbay {

/// Runs `body` in a forked child and waits for it: whatever the body fails to meet is a failure of the test
/// that calls this, and so is a body that takes longer than a minute. What the body does to its process
/// (namespaces, limits, environment, user) ends with it.
void inChild(const std::function<void()>& body);

/// Gives the calling process namespaces of its own (`flags` as for unshare(2)) with the rights of root in
/// them. Mounts made afterwards are not seen outside. Throws std::system_error.
void enterNamespaces(int flags);

/// Runs a shell command; anything but the exit status 0 is a failure of the test.
void shell(const std::string& command);

/// Adds a virtual network interface without addresses, set down: one end of a pair whose other end is up.
/// Once set up it is running and able to multicast.
void addInterface(const std::string& name);

/// How many descriptors this process has open.
std::size_t openDescriptors();

}  // namespace quillbay

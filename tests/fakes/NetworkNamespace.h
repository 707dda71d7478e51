#pragma once

#include <functional>
#include <string>

namespace quillbay::fakes {

/// Runs `body` on a thread that has a network of its own, empty but for a loopback interface that is down.
/// Threads and children that the body starts are in it too; it is gone when they are. Needs root, on Linux;
/// fails the test without.
void inNetworkNamespace(const std::function<void()>& body);

/// Runs a shell command in the calling thread's network; fails the test when the command fails.
void shell(const std::string& command);

/// Makes an interface in the calling thread's network that is up and running and whose cable ends nowhere.
/// `address` is as in "10.77.1.1/24"; empty for none.
void makeInterface(const std::string& name, const std::string& address);

/// Makes packets to `address` leave through the interface and vanish, as those to a host that is switched off
/// behind a router: without this the system soon notices that nobody answers for it.
void makeBlackHole(const std::string& interface, const std::string& address);

}  // namespace quillbay::fakes

#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/UniqueDescriptor.h"

namespace quillbay::bench {

/// A child process of the benchmark; ended and waited for with the object.
class Child {
 public:
    explicit Child(const std::vector<std::string>& command);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// The next line of its output; empty at the end.
    std::string line();

    /// What all its threads have used of the processors.
    [[nodiscard]] double processorSeconds() const;
    /// How often its network threads gave the processor up by themselves.
    [[nodiscard]] long voluntarySwitches() const;

 private:
    pid_t pid_ = -1;
    UniqueDescriptor input_;
    UniqueDescriptor output_;
};

/// Something that passes connections on to a target port.
struct Forwarder {
    std::string address = "127.0.0.1";
    std::uint16_t port = 0;
    std::unique_ptr<Child> child;  // none for the direct way
};

inline constexpr int firstPort = 55000;
inline constexpr int lastPort = 58000;

enum class Listens { onOnePort, onTheFullRange };

Forwarder direct(std::uint16_t target);
Forwarder relay(std::uint16_t target, Listens listens);
/// HAProxy 2.6 or later as a TCP forwarder with as many threads as the relay has.
Forwarder haproxy(std::uint16_t target, Listens listens);

}  // namespace quillbay::bench

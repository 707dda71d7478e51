#pragma once

#include <optional>
#include <string>

#include "delay/DelayLine.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay::lab {

/// A network interface whose other end is this process: what a host sends through it is read here, what is
/// written here the host receives. It is there as long as this object.
class TunDevice {
 public:
    /// Makes it in a network namespace, which is named by its file, such as /proc/PID/ns/net; the calling
    /// thread is in that namespace afterwards. Needs root. Throws std::system_error.
    TunDevice(const std::string& networkNamespace, const std::string& name);

    [[nodiscard]] int descriptor() const { return device_.get(); }

    /// The next packet that the host has sent; nothing when there is none.
    [[nodiscard]] std::optional<DelayLine::Packet> read() const;
    /// A packet that the host does not take (its end is down) is lost.
    void write(const DelayLine::Packet& packet) const;

 private:
    UniqueDescriptor device_;
};

}  // namespace quillbay::lab

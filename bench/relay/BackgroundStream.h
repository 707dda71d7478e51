#pragma once

#include <cstddef>
#include <future>

#include "relay/Wire.h"

namespace quillbay::bench {

/// A stream of known bytes through a forwarder, as fast as it goes, until the object goes. `offset` is added
/// to the forwarder's first port.
class BackgroundStream {
 public:
    BackgroundStream(const Forwarder& through, const Target& target, int offset);
    ~BackgroundStream();
    BackgroundStream(const BackgroundStream&) = delete;
    BackgroundStream& operator=(const BackgroundStream&) = delete;

 private:
    Connection connection_;
    std::future<void> sending_;
    std::future<void> receiving_;
};

}  // namespace quillbay::bench

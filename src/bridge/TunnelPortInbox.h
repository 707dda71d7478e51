#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

namespace quillbay {

/// Tunnel ports on their way from the watcher's queue to the main queue. A port waits once, however often the
/// log names it, and one task at a time is on its way for all that wait, so that no flood in the log can fill
/// the memory or the main queue.
class TunnelPortInbox {
 public:
    /// As many ports as may be opened in one turn of the main queue without anybody noticing.
    static constexpr std::size_t mostAtOnce = 100;

    /// Takes a port in, on any thread. True when the caller has to see to it that `take` is called soon.
    bool put(std::uint16_t port);

    struct Content {
        /// In the order in which they came.
        std::vector<std::uint16_t> ports;
        /// Whether the caller has to see to it that `take` is called again.
        bool moreWait = false;
    };

    /// The next ports, at most `mostAtOnce`. On any thread.
    Content take();

 private:
    std::mutex mutex_;
    std::deque<std::uint16_t> ports_;
    std::bitset<65536> waiting_;
    bool isTaken_ = true;
};

}  // namespace quillbay

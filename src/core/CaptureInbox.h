#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "discovery/CapturedBonjourService.h"
#include "platform/MainQueue.h"

namespace quillbay {

/// What the capture found and said, on its way to the main queue. Of each host only the newest record waits,
/// and one task at a time is posted for all that waits, so that no flood on the network can fill the memory
/// or the main queue. Held by the capture's callbacks.
class CaptureInbox : public std::enable_shared_from_this<CaptureInbox> {
 public:
    /// What is handed over at once: sorted by host, and in the order of their coming.
    struct Content {
        std::vector<CapturedBonjourService> services;
        std::vector<std::string> lines;
    };

    /// `deliver` runs on the main queue. `mainQueue` must outlive the inbox.
    CaptureInbox(MainQueue& mainQueue, std::function<void(Content)> deliver);

    // Both may be called on any thread. Beyond 10,000 hosts, 32 MiB of their records and 1,000 lines that
    // wait, new ones are dropped.

    void putService(CapturedBonjourService service);
    void putLine(std::string line);

 private:
    void postDelivery();
    Content take();

    MainQueue& mainQueue_;
    std::function<void(Content)> deliver_;
    std::mutex mutex_;
    std::map<std::string, CapturedBonjourService> newestByHost_;
    std::size_t bytes_ = 0;
    std::vector<std::string> lines_;
    bool posted_ = false;
};

}  // namespace quillbay

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "bridge/RelayAccess.h"
#include "core/AppLogStore.h"
#include "platform/MainQueue.h"

namespace quillbay {

/// Writes into the diagnostic log that the relays have refused somebody: the first time at once, and from
/// then on at most once in an `interval`, while there are more. Lives on the main queue.
class RefusalLog {
 public:
    static constexpr std::chrono::minutes interval{1};

    /// Everything must outlive the log, but the access, whose one listener it is.
    RefusalLog(MainQueue& mainQueue, AppLogStore& logs, std::shared_ptr<RelayAccess> access);
    ~RefusalLog();
    RefusalLog(const RefusalLog&) = delete;
    RefusalLog& operator=(const RefusalLog&) = delete;

 private:
    void wait();
    void write();
    void intervalIsOver();

    MainQueue& mainQueue_;
    AppLogStore& logs_;
    const std::shared_ptr<RelayAccess> access_;
    std::uint64_t written_ = 0;
    std::unique_ptr<MainTimer> timer_;
    // What was posted by a relay and comes when the log has gone is dropped.
    std::shared_ptr<RefusalLog*> self_ = std::make_shared<RefusalLog*>(this);
};

}  // namespace quillbay

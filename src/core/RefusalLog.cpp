#include "core/RefusalLog.h"

#include <fmt/format.h>

#include <utility>

namespace quillbay {

RefusalLog::RefusalLog(MainQueue& mainQueue, AppLogStore& logs, std::shared_ptr<RelayAccess> access)
    : mainQueue_(mainQueue), logs_(logs), access_(std::move(access)) {
    wait();
}

RefusalLog::~RefusalLog() {
    access_->tellNextRefusal({});
}

void RefusalLog::wait() {
    access_->tellNextRefusal([&mainQueue = mainQueue_, weak = std::weak_ptr(self_)] {
        mainQueue.post([weak] {
            if (const auto self = weak.lock()) (*self)->write();
        });
    });
    // One that was refused just before would otherwise stay unsaid until the next.
    if (access_->refused().total() != written_) write();
}

void RefusalLog::write() {
    const RelayAccess::Refused refused = access_->refused();
    if (timer_ || refused.total() == written_) return;
    written_ = refused.total();
    logs_.diagnostic(
        fmt::format("Only this computer may use the bridge: {} connection(s) and {} datagram(s) of others "
                    "refused so far, the last from {}",
                    refused.connections, refused.datagrams, refused.lastSource));
    access_->tellNextRefusal({});
    timer_ = mainQueue_.after(interval, [this] { intervalIsOver(); });
}

void RefusalLog::intervalIsOver() {
    timer_.reset();
    if (access_->refused().total() != written_)
        write();
    else
        wait();
}

}  // namespace quillbay

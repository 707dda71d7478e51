#pragma once

#include <memory>

#include "platform/Host.h"

namespace quillbay {

/// What a program that is about to make a SystemHost does first of all, while it has a single thread: room
/// for the descriptors of full bridges, and writing to a reader that has gone becomes an error instead of the
/// program's end.
void prepareProcess();

/// This computer as a Host, for the programs. Made and destroyed on the main queue; the queue and the threads
/// must outlive it.
class SystemHost {
 public:
    /// Throws std::runtime_error, with a sentence, for a user without a home directory.
    SystemHost(MainQueue& mainQueue, NetworkThreads& network);

    [[nodiscard]] const Host& host() const { return host_; }

 private:
    SystemClock clock_;
    SystemRandomSource random_;
    BackgroundWork background_;
    Host host_;
    std::unique_ptr<DesktopServices> desktop_;
};

}  // namespace quillbay

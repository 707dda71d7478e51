#pragma once

#include "platform/StopToken.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// A descriptor that becomes readable when a stop is requested, for a thread that waits in poll(2).
class StopPipe {
 public:
    /// Throws std::system_error when the system has no pipe to give.
    explicit StopPipe(const StopToken& token);
    StopPipe(const StopPipe&) = delete;
    StopPipe& operator=(const StopPipe&) = delete;

    [[nodiscard]] int descriptor() const { return reading_.get(); }

 private:
    UniqueDescriptor reading_;
    UniqueDescriptor writing_;
    /// Last, so that no callback can meet a closed pipe.
    StopRegistration registration_;
};

}  // namespace quillbay

#pragma once

#include <QSocketNotifier>
#include <functional>

#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// Tells, in the event loop, of the signals that ask the program to end: SIGTERM, SIGINT, and SIGHUP unless
/// it was started to outlive its terminal (nohup). At most one object of this class at a time; while there is
/// none, the signals do what they do by themselves.
class EndingSignals {
 public:
    explicit EndingSignals(std::function<void()> onSignal);
    ~EndingSignals();
    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;

 private:
    UniqueDescriptor reading_;
    UniqueDescriptor writing_;
    QSocketNotifier notifier_;
};

}  // namespace quillbay

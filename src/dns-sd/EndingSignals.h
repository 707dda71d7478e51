#pragma once

namespace quillbay::dnssd {

/// Turns SIGTERM and SIGINT into something to wait for, so that the program can end in order, and sees to it
/// that it ends soon: the daemon's library waits 25 seconds for an answer of a daemon that stands still, and
/// whoever has sent the signal waits for the end. When the program is still there after a grace of 0.5
/// seconds, it ends with status 0 wherever it is. Nothing is left behind by that: the daemon withdraws the
/// records of a client that goes away as soon as it goes on.
///
/// One at a time, before any thread is started; the process ends soon after one of the signals has come.
class EndingSignals {
 public:
    /// Throws std::system_error.
    EndingSignals();
    ~EndingSignals();
    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;

    /// Readable once one of the signals has come.
    [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
    int descriptor_;
};

}  // namespace quillbay::dnssd

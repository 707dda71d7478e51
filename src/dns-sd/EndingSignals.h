#pragma once

namespace quillbay::dnssd {

/// Turns SIGTERM and SIGINT into something to wait for (signalfd(2)) in place of the end of the process, for
/// as long as it exists. One at a time, before any thread is started.
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

#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ChildProcess.h"
#include "platform/HostTools.h"
#include "platform/SerialQueue.h"

namespace quillbay {

/// Runs a `devicectl` child and hands on what it prints, line by line, while it runs. At most one child.
/// `start` and `stop` belong to the owner's thread; the callbacks run on the queue.
class DeviceCtlRunner {
 public:
    DeviceCtlRunner(HostTools tools, SerialQueue queue);
    /// As `stop`.
    ~DeviceCtlRunner();
    DeviceCtlRunner(const DeviceCtlRunner&) = delete;
    DeviceCtlRunner& operator=(const DeviceCtlRunner&) = delete;

    /// Called with each line of the child's standard output, without its line feed; with the last one also
    /// when no line feed ends it. Lines of more than 64 KiB and output that is not UTF-8 are dropped. Set
    /// before `start`.
    std::function<void(std::string)> onOutputLine;

    /// Called once at the end of the child's output, after its last line; not after `stop`. Set before
    /// `start`.
    std::function<void()> onOutputEnd;

    /// Launches `devicectl` with these arguments, after stopping a child that runs. Throws std::system_error.
    void start(const std::vector<std::string>& arguments);

    /// Asks the child to end, without waiting, and drops what it still prints. May be called more than once.
    void stop();

    /// Blocks until the child that was started last has ended or `token` is stopped; nothing in the second
    /// case, and when none was started.
    [[nodiscard]] std::optional<ExitStatus> waitForExit(const StopToken& token) const;

 private:
    struct Session;
    HostTools tools_;
    SerialQueue queue_;
    std::optional<ChildProcess> child_;
    std::shared_ptr<Session> session_;
};

}  // namespace quillbay

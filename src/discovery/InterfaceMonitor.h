#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/Host.h"
#include "platform/SerialQueue.h"

namespace quillbay {

/// Tells its owner when this computer's local IPv4 address changes. Runs on its queue,
/// "com.local.mirel.Quillbay.interface-monitor" (one of the network threads), from `start` to its
/// destruction, which waits for a call of `onChange` that is just running.
class InterfaceMonitor {
 public:
    /// Whatever prompts the monitor to look again: calls the function on the queue, the first time soon after
    /// it was made, for as long as the object that it returns is kept. That object is made and dropped on the
    /// queue.
    using PromptSource =
        std::function<std::shared_ptr<void>(const SerialQueue& queue, std::function<void()> onPrompt)>;

    /// Prompted by `InterfaceChanges`.
    explicit InterfaceMonitor(const Host& host);
    InterfaceMonitor(const Host& host, PromptSource prompts);
    ~InterfaceMonitor();
    InterfaceMonitor(const InterfaceMonitor&) = delete;
    InterfaceMonitor& operator=(const InterfaceMonitor&) = delete;

    /// Called on the monitor's queue with the new address, or nothing when there is none any more. The first
    /// prompt after `start` reports the current address if there is one. Must not wait for the thread that
    /// destroys the monitor. Set before `start`.
    std::function<void(std::optional<std::string>)> onChange;

    /// Called once. Returns after the first prompt, so the address that holds now has been reported by then.
    /// Throws std::system_error when the system refuses to report changes.
    void start();

 private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace quillbay

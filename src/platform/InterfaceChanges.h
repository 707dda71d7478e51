#pragma once

#include <functional>
#include <memory>

#include "platform/SerialQueue.h"

namespace quillbay {

/// Prompts its owner whenever the network configuration may have changed: an address, a link or a route. A
/// prompt says nothing but "look again"; several changes may share one, and one may come without a change.
///
/// It listens on rtnetlink (Linux, rtnetlink(7)) or on a routing socket (Mac, route(4)). When the system
/// reports that events were lost, that is a prompt too.
class InterfaceChanges {
 public:
    /// `onPrompt` runs on `queue`, the first time soon after construction and then after every change; never
    /// after destruction has returned on that queue. Throws std::system_error when the system refuses the
    /// socket.
    InterfaceChanges(const SerialQueue& queue, std::function<void()> onPrompt);
    ~InterfaceChanges();
    InterfaceChanges(const InterfaceChanges&) = delete;
    InterfaceChanges& operator=(const InterfaceChanges&) = delete;

 private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace quillbay

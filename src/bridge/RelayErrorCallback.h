#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace quillbay {

/// What a relay calls when its listener fails. The owner may assign it at any time on any thread, also while
/// the relay is running; the relay calls what is assigned at the moment of the failure, on its own queue.
class RelayErrorCallback {
 public:
    using Function = std::function<void(std::exception_ptr)>;

    RelayErrorCallback() : slot_(std::make_shared<Slot>()) {}
    /// The same callback: what is assigned to one is called by the other.
    RelayErrorCallback(const RelayErrorCallback&) = default;
    RelayErrorCallback& operator=(const RelayErrorCallback&) = delete;

    RelayErrorCallback& operator=(Function function) {
        // The old function dies outside the lock: it may own anything.
        const std::lock_guard lock(slot_->mutex);
        slot_->function.swap(function);
        return *this;
    }

    /// Calls the function, if there is one, outside the lock: it may assign anew.
    void operator()(std::exception_ptr error) const {
        Function function;
        {
            const std::lock_guard lock(slot_->mutex);
            function = slot_->function;
        }
        if (function) function(std::move(error));
    }

    explicit operator bool() const {
        const std::lock_guard lock(slot_->mutex);
        return static_cast<bool>(slot_->function);
    }

 private:
    struct Slot {
        std::mutex mutex;
        Function function;
    };
    // Shared by the relay's handle, where it is assigned, and its core, where it is called.
    std::shared_ptr<Slot> slot_;
};

}  // namespace quillbay

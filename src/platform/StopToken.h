#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace quillbay {

namespace detail {
struct StopState;
}

/// Keeps a callback registered with a `StopToken`; dropping it ends the registration, and waits for the
/// callback if another thread is just running it.
class StopRegistration {
 public:
    StopRegistration() = default;
    StopRegistration(std::shared_ptr<detail::StopState> state, std::size_t id);
    ~StopRegistration();
    StopRegistration(StopRegistration&& other) noexcept;
    StopRegistration& operator=(StopRegistration&& other) noexcept;

 private:
    void reset();
    std::shared_ptr<detail::StopState> state_;
    std::size_t id_ = 0;
};

/// Tells work that blocks that it has been abandoned. (The standard library's own is still experimental in
/// the Mac's.) Copies share one state; all members may be called on any thread.
class StopToken {
 public:
    /// A token that is never stopped.
    StopToken() = default;
    explicit StopToken(std::shared_ptr<detail::StopState> state);

    [[nodiscard]] bool stopRequested() const;

    /// Blocks for `duration`, or until the stop if that comes first. Returns false when stopped.
    bool sleepFor(std::chrono::nanoseconds duration) const;

    /// Has `callback` run once on the thread that requests the stop; at once, on this thread, if that has
    /// happened already. The callback must not block and must not touch its own registration.
    [[nodiscard]] StopRegistration onStop(std::function<void()> callback) const;

 private:
    std::shared_ptr<detail::StopState> state_;
};

/// The other end of a `StopToken`: the owner of the work asks it to stop. Destruction does not stop.
class StopSource {
 public:
    StopSource();

    [[nodiscard]] StopToken token() const { return StopToken(state_); }

    /// Ends every sleep and runs every callback. May be called more than once, on any thread.
    void requestStop() const;

 private:
    std::shared_ptr<detail::StopState> state_;
};

}  // namespace quillbay

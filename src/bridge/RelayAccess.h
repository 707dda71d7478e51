#pragma once

#include <netinet/in.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

namespace quillbay {

/// Who may use the relays: everybody who reaches them, or this computer only. One for all relays of the
/// program, which hold it; members may be called on any thread unless they say otherwise.
///
/// A client counts as this computer's own when it has the address of the relay itself, which is what the
/// system gives to a connection from here, or one of 127.0.0.0/8. Another address of this computer does not
/// count: that it is one changes with every interface, and nobody has it without choosing it.
class RelayAccess {
 public:
    RelayAccess() = default;
    RelayAccess(const RelayAccess&) = delete;
    RelayAccess& operator=(const RelayAccess&) = delete;

    /// Holds for clients that come from now on. Those that are there are the relays' affair
    /// (`RelayListener::endConnectionsOfOthers`).
    void setOnlyThisComputer(bool only) { onlyThisComputer_ = only; }
    [[nodiscard]] bool onlyThisComputer() const { return onlyThisComputer_; }

    enum class Kind { connection, datagram };
    /// Whether a client at `source` may use a relay that listens on `relay`. One that may not is counted.
    bool admits(Kind kind, in_addr source, in_addr relay);
    /// The same, uncounted.
    [[nodiscard]] bool mayUse(in_addr source, in_addr relay) const;

    /// What was refused since the program's start.
    struct Refused {
        std::uint64_t connections = 0;
        std::uint64_t datagrams = 0;
        /// Where the last of them came from; empty when there was none.
        std::string lastSource;
        [[nodiscard]] std::uint64_t total() const { return connections + datagrams; }
    };
    [[nodiscard]] Refused refused() const;

    /// `told` is called when the next client is refused, on the thread of its relay, and then not again until
    /// this is called anew: a flood costs no more than its counting. Nothing to hear of none. Waits for a
    /// call that is under way on another thread, so it must not be called in one: after this the former is
    /// not called any more.
    void tellNextRefusal(std::function<void()> told);

 private:
    void count(Kind kind, in_addr source);

    std::atomic<bool> onlyThisComputer_ = false;
    std::atomic<std::uint64_t> connections_ = 0;
    std::atomic<std::uint64_t> datagrams_ = 0;
    std::atomic<in_addr_t> lastSource_ = INADDR_ANY;
    // So that a refusal usually needs no lock.
    std::atomic<bool> somebodyListens_ = false;
    std::mutex telling_;
    std::function<void()> told_;
};

}  // namespace quillbay

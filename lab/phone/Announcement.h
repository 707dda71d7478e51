#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quillbay::lab {

/// The phone's record on the local network, published by its host's own Avahi daemon.
///
/// It comes back by itself after a restart of the daemon. Avahi's loop has a thread of its own; the members
/// below are called on one other thread.
class Announcement {
 public:
    struct Record {
        std::string name;
        /// Empty means the daemon's own host name; any other gets an address record of its own.
        std::string host;
        std::string interface;
        std::string address;
        std::vector<std::string> txt;
    };

    /// Told on Avahi's thread: "announced", "collision", or "failure" with Avahi's own words.
    using Listener = std::function<void(std::string event, std::string detail)>;

    /// Throws std::runtime_error when the interface does not exist or Avahi's client cannot be set up.
    Announcement(Record record, Listener listener);
    ~Announcement();
    Announcement(const Announcement&) = delete;
    Announcement& operator=(const Announcement&) = delete;

    /// Publishes the record with this port, or the one published so far with another port.
    void publish(std::uint16_t port);

    void withdraw();

 private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace quillbay::lab

#pragma once

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <functional>
#include <stdexcept>

#include "log/LogProcess.h"

namespace quillbay::bench {

/// Runs a main queue turn by turn and keeps the longest.
class MainTurns {
 public:
    explicit MainTurns(boost::asio::io_context& loop) : loop_(loop) {}

    /// Until `done`, asked after every turn. Throws after half a minute.
    void runUntil(const std::function<bool()>& done) {
        const Stopwatch patience;
        while (!done()) {
            const Stopwatch turn;
            if (loop_.poll_one() != 0) {
                longestSeconds_ = std::max(longestSeconds_, turn.seconds());
            } else if (loop_.run_one_for(std::chrono::milliseconds(100)) == 0 && patience.seconds() > 30) {
                throw std::runtime_error("nothing has happened for too long: a line is missing");
            }
        }
    }

    void forget() { longestSeconds_ = 0; }
    [[nodiscard]] double longestSeconds() const { return longestSeconds_; }

 private:
    boost::asio::io_context& loop_;
    double longestSeconds_ = 0;
};

}  // namespace quillbay::bench

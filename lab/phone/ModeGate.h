#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include "phone/PhoneCommand.h"

namespace quillbay::lab {

/// The phone's mode, and a place where sessions wait while it stalls. One thread only.
class ModeGate {
 public:
    explicit ModeGate(boost::asio::io_context& context);

    void set(PhoneMode mode);
    [[nodiscard]] PhoneMode mode() const { return mode_; }

    /// Goes on at once, or as soon as the phone no longer stalls.
    boost::asio::awaitable<void> passed();

 private:
    PhoneMode mode_ = PhoneMode::normal;
    boost::asio::steady_timer changed_;
};

}  // namespace quillbay::lab

#include "phone/ModeGate.h"

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace quillbay::lab {

ModeGate::ModeGate(boost::asio::io_context& context)
    : changed_(context, boost::asio::steady_timer::time_point::max()) {}

void ModeGate::set(PhoneMode mode) {
    mode_ = mode;
    changed_.cancel();
}

boost::asio::awaitable<void> ModeGate::passed() {
    while (mode_ == PhoneMode::stall) {
        boost::system::error_code ignored;
        co_await changed_.async_wait(boost::asio::redirect_error(boost::asio::use_awaitable, ignored));
    }
}

}  // namespace quillbay::lab

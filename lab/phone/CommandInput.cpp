#include "phone/CommandInput.h"

#include <unistd.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <iostream>
#include <utility>

namespace quillbay::lab {

namespace asio = boost::asio;
using Local = asio::local::stream_protocol;

namespace {

constexpr std::size_t longestLine = 1024;

}  // namespace

CommandInput::CommandInput(asio::io_context& context, const std::string& path, Handler handler)
    : context_(context), handler_(std::move(handler)), path_(path) {
    if (path_.empty()) {
        auto input = std::make_shared<asio::posix::stream_descriptor>(context_, ::dup(STDIN_FILENO));
        const auto print = [](std::shared_ptr<asio::posix::stream_descriptor>, std::string answer) {
            std::cout << answer << std::flush;
        };
        asio::co_spawn(context_, converse(std::move(input), print), asio::detached);
        return;
    }
    ::unlink(path_.c_str());
    acceptor_.emplace(context_, Local::endpoint(path_));
    asio::co_spawn(context_, acceptAll(), asio::detached);
}

CommandInput::~CommandInput() {
    if (!path_.empty()) ::unlink(path_.c_str());
}

asio::awaitable<void> CommandInput::acceptAll() {
    while (true) {
        boost::system::error_code failure;
        auto socket = std::make_shared<Local::socket>(context_);
        co_await acceptor_->async_accept(*socket, asio::redirect_error(asio::use_awaitable, failure));
        if (failure) co_return;
        const auto send = [](std::shared_ptr<Local::socket> to, std::string answer) {
            boost::system::error_code ignored;
            asio::write(*to, asio::buffer(answer), ignored);
        };
        asio::co_spawn(context_, converse(std::move(socket), send), asio::detached);
    }
}

template <typename Input, typename Output>
asio::awaitable<void> CommandInput::converse(Input input, Output answer) {
    std::string unread;
    while (true) {
        boost::system::error_code failure;
        const auto bytes =
            co_await asio::async_read_until(*input, asio::dynamic_buffer(unread, longestLine), '\n',
                                            asio::redirect_error(asio::use_awaitable, failure));
        if (failure) co_return;
        const std::string line = unread.substr(0, bytes - 1);
        unread.erase(0, bytes);
        answer(input, handler_(line) + "\n");
    }
}

}  // namespace quillbay::lab

#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quillbay::lab {

/// Hands lines to the phone: from standard input, or from whoever connects to a Unix socket. Each line gets
/// its answer, as a line, where it came from; for standard input that is standard output. One thread only;
/// must outlive the loop's last run.
class CommandInput {
 public:
    using Handler = std::function<std::string(const std::string& line)>;

    /// `path` empty means standard input. Throws boost::system::system_error when the socket cannot be made.
    CommandInput(boost::asio::io_context& context, const std::string& path, Handler handler);
    ~CommandInput();
    CommandInput(const CommandInput&) = delete;
    CommandInput& operator=(const CommandInput&) = delete;

 private:
    template <typename Input, typename Output>
    boost::asio::awaitable<void> converse(Input input, Output answer);
    boost::asio::awaitable<void> acceptAll();

    boost::asio::io_context& context_;
    Handler handler_;
    std::string path_;
    std::optional<boost::asio::local::stream_protocol::acceptor> acceptor_;
};

}  // namespace quillbay::lab

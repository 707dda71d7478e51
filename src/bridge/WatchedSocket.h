#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/basic_stream_descriptor.hpp>
#include <utility>

#include "platform/UniqueDescriptor.h"

namespace quillbay {

/// Whether receiving was shut down: the socket is readable from then on, whether or not there is anything to
/// receive. A stream tells that by its end; a datagram socket has to be asked.
bool receivingIsShutDown(int socket);

/// Owns a non-blocking socket and tells when it can be read or written. Used on its loop only.
///
/// A wait is for one event and sees what is there already. The handlers of waits that `close` cuts short
/// never run to their end: they are dropped, with everything that they hold, on the loop.
class WatchedSocket {
 public:
    explicit WatchedSocket(boost::asio::io_context& loop) : descriptor_(loop) {}

    /// Takes over an open socket, after closing the one it had. Throws std::system_error when the loop cannot
    /// watch it; the socket is closed then.
    void adopt(UniqueDescriptor socket);

    /// -1 when closed.
    [[nodiscard]] int get() { return descriptor_.is_open() ? descriptor_.native_handle() : -1; }
    [[nodiscard]] bool isOpen() const { return descriptor_.is_open(); }

    void close();

    template <typename Handler>
    void whenReadable(Handler handler) {
        wait(Descriptor::wait_read, std::move(handler));
    }

    /// Also tells the end of a connect.
    template <typename Handler>
    void whenWritable(Handler handler) {
        wait(Descriptor::wait_write, std::move(handler));
    }

 private:
    // The plain executor: the type-erased one makes every waiting operation larger and slower.
    using Descriptor = boost::asio::posix::basic_stream_descriptor<boost::asio::io_context::executor_type>;

    template <typename Handler>
    void wait(Descriptor::wait_type event, Handler handler) {
        descriptor_.async_wait(
            event, [handler = std::move(handler)](const boost::system::error_code& error) mutable {
                if (!error) handler();
            });
    }

    Descriptor descriptor_;
};

}  // namespace quillbay

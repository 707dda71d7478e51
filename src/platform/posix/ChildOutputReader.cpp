#include "platform/ChildOutputReader.h"

#include <array>
#include <atomic>
#include <boost/asio/buffer.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <utility>

#include "platform/PrintedError.h"
#include "platform/Utf8.h"

namespace quillbay {

// The pending read owns the state, so the state lives until the pipe is closed, and the reader that is
// dropped closes it. All members but `stopped` belong to the queue. No copy of the queue is held: a queue
// that owns its thread would then be owned by what is pending on that thread.
struct ChildOutputReader::State : std::enable_shared_from_this<State> {
    State(boost::asio::io_context& context, Handler onText, Task onEnd)
        : stream(context), handler(std::move(onText)), atEnd(std::move(onEnd)) {}

    void readNext() {
        stream.async_read_some(
            boost::asio::buffer(buffer),
            [state = shared_from_this()](const boost::system::error_code& error, std::size_t size) {
                state->received(error, size);
            });
    }

    void received(const boost::system::error_code& error, std::size_t size) {
        if (stopped) return;
        if (error) {
            close();
            if (atEnd) std::exchange(atEnd, {})();
            return;
        }
        std::optional<std::string> text = decoder.decode({buffer.data(), size});
        if (text && !text->empty()) handler(std::move(*text));
        if (!stopped) readNext();
    }

    void close() {
        // The pipe is given back whatever close says.
        boost::system::error_code ignored;
        stream.close(ignored);
    }

    boost::asio::posix::stream_descriptor stream;
    Handler handler;
    Task atEnd;
    Utf8ChunkDecoder decoder;
    std::array<char, std::size_t{16} * 1024> buffer{};
    std::atomic<bool> stopped = false;
};

ChildOutputReader::ChildOutputReader(const SerialQueue& queue, UniqueDescriptor pipe, Handler handler,
                                     Task atEnd)
    : state_(std::make_shared<State>(queue.context(), std::move(handler), std::move(atEnd))) {
    boost::system::error_code error;
    state_->stream.assign(pipe.get(), error);
    if (error) throw systemError(error.value());
    static_cast<void>(pipe.release());
    boost::asio::post(queue.context(), [state = state_] {
        if (!state->stopped) state->readNext();
    });
}

ChildOutputReader::~ChildOutputReader() {
    stop();
}

void ChildOutputReader::stop() {
    if (state_->stopped.exchange(true)) return;
    boost::asio::dispatch(state_->stream.get_executor(), [state = state_] { state->close(); });
}

}  // namespace quillbay

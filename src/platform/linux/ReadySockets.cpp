// An epoll set of the sockets, which the loop's own set holds as a single member: the loop wakes up once for
// all that are ready, and no socket has to be armed again each time.
#include "platform/ReadySockets.h"

#include <sys/epoll.h>

#include <array>
#include <boost/asio/posix/basic_stream_descriptor.hpp>
#include <cerrno>
#include <utility>

#include "platform/PrintedError.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

namespace {

using Descriptor = boost::asio::posix::basic_stream_descriptor<boost::asio::io_context::executor_type>;

UniqueDescriptor newSet() {
    UniqueDescriptor set(::epoll_create1(EPOLL_CLOEXEC));
    if (!set.valid()) throw systemError(errno);
    return set;
}

/// Held by the object alone; the wait holds it weakly.
class Set : public std::enable_shared_from_this<Set> {
 public:
    Set(boost::asio::io_context& loop, ReadySockets::Handler handler)
        : set_(loop), handler_(std::move(handler)) {
        UniqueDescriptor made = newSet();
        boost::system::error_code error;
        set_.assign(made.get(), error);
        if (error) throw systemError(error.value());
        static_cast<void>(made.release());
    }

    void add(int socket, std::uint64_t tag) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.u64 = tag;
        if (::epoll_ctl(set_.native_handle(), EPOLL_CTL_ADD, socket, &event) != 0) throw systemError(errno);
    }

    void remove(int socket) {
        epoll_event ignored{};
        ::epoll_ctl(set_.native_handle(), EPOLL_CTL_DEL, socket, &ignored);
    }

    void wait() {
        set_.async_wait(Descriptor::wait_read,
                        [weak = weak_from_this()](const boost::system::error_code& error) {
                            const auto self = weak.lock();
                            if (error || !self) return;
                            self->tell();
                            self->wait();
                        });
    }

 private:
    void tell() {
        // Enough to make a burst cheap, few enough that others get their turn.
        std::array<epoll_event, 32> events;
        const int count =
            ::epoll_wait(set_.native_handle(), events.data(), static_cast<int>(events.size()), 0);
        if (count <= 0) return;
        std::array<std::uint64_t, 32> tags;
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
            tags[i] = events[i].data.u64;
        handler_(std::span(tags).first(static_cast<std::size_t>(count)));
    }

    Descriptor set_;
    const ReadySockets::Handler handler_;
};

class SetOfReadySockets final : public ReadySockets {
 public:
    SetOfReadySockets(boost::asio::io_context& loop, Handler handler)
        : set_(std::make_shared<Set>(loop, std::move(handler))) {
        set_->wait();
    }

    void add(int socket, std::uint64_t tag) override { set_->add(socket, tag); }
    void remove(int socket) override { set_->remove(socket); }

 private:
    std::shared_ptr<Set> set_;
};

}  // namespace

std::unique_ptr<ReadySockets> makeReadySockets(boost::asio::io_context& loop, ReadySockets::Handler handler) {
    return std::make_unique<SetOfReadySockets>(loop, std::move(handler));
}

}  // namespace quillbay

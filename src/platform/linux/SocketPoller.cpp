#include "platform/SocketPoller.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "platform/PrintedError.h"
#include "platform/UniqueDescriptor.h"

namespace quillbay {

namespace {

// Enough to make a busy turn cheap, few enough that what was posted meanwhile gets its own.
constexpr std::size_t readyAtOnce = 64;
constexpr std::uint64_t wakeTag = ~std::uint64_t{0};

std::uint32_t systemEvents(SocketEvents events) {
    std::uint32_t asked = 0;
    if ((events & SocketEvents::read) != SocketEvents::none) asked |= EPOLLIN;
    if ((events & SocketEvents::write) != SocketEvents::none) asked |= EPOLLOUT;
    // Failures are told of in any case: to nobody who waits, once.
    return asked != 0 ? asked : static_cast<std::uint32_t>(EPOLLET);
}

SocketEvents ownEvents(std::uint32_t told) {
    if ((told & (EPOLLERR | EPOLLHUP)) != 0) return SocketEvents::both;
    SocketEvents events = SocketEvents::none;
    if ((told & EPOLLIN) != 0) events = events | SocketEvents::read;
    if ((told & EPOLLOUT) != 0) events = events | SocketEvents::write;
    return events;
}

int milliseconds(std::optional<std::chrono::nanoseconds> limit) {
    if (!limit) return -1;
    // Up: a timer must not be looked at before its time, over and over.
    const auto count = std::chrono::ceil<std::chrono::milliseconds>(*limit).count();
    constexpr std::int64_t most = 60'000;
    return static_cast<int>(std::clamp<std::int64_t>(count, 0, most));
}

class EpollPoller final : public SocketPoller {
 public:
    EpollPoller() : set_(::epoll_create1(EPOLL_CLOEXEC)), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (!set_.valid() || !wake_.valid()) throw systemError(errno);
        // By its edge, so that nobody has to read it.
        if (!control(EPOLL_CTL_ADD, wake_.get(), wakeTag, EPOLLIN | EPOLLET)) throw systemError(errno);
    }

    void add(int socket, std::uint64_t tag, SocketEvents events) override {
        if (!control(EPOLL_CTL_ADD, socket, tag, systemEvents(events))) throw systemError(errno);
    }

    bool change(int socket, std::uint64_t tag, SocketEvents events) override {
        return control(EPOLL_CTL_MOD, socket, tag, systemEvents(events));
    }

    // The set forgets a socket when it is closed. One that a child holds between its fork and its exec is
    // told of for that long.
    void remove(int /*socket*/) override {}

    std::span<const Ready> wait(std::optional<std::chrono::nanoseconds> limit) override {
        std::array<epoll_event, readyAtOnce> events;
        const int count =
            ::epoll_wait(set_.get(), events.data(), static_cast<int>(events.size()), milliseconds(limit));
        std::size_t sockets = 0;
        for (int i = 0; i < count; ++i) {
            const epoll_event& event = events[static_cast<std::size_t>(i)];
            if (event.data.u64 != wakeTag) ready_[sockets++] = {event.data.u64, ownEvents(event.events)};
        }
        return std::span(ready_).first(sockets);
    }

    void wake() override {
        const std::uint64_t one = 1;
        // Never full: that would take centuries. What else may go wrong must not leave the loop asleep.
        constexpr int tries = 3;
        for (int i = 0; i < tries && ::write(wake_.get(), &one, sizeof one) < 0; ++i) {
        }
    }

 private:
    bool control(int operation, int socket, std::uint64_t tag, std::uint32_t events) {
        epoll_event event{};
        event.events = events;
        event.data.u64 = tag;
        return ::epoll_ctl(set_.get(), operation, socket, &event) == 0;
    }

    const UniqueDescriptor set_;
    const UniqueDescriptor wake_;
    std::array<Ready, readyAtOnce> ready_;
};

}  // namespace

std::unique_ptr<SocketPoller> makeSocketPoller() {
    return std::make_unique<EpollPoller>();
}

}  // namespace quillbay

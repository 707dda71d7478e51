#include "platform/posix/PlainSocketPoller.h"

#include <array>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/basic_stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/system/system_error.hpp>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/PrintedError.h"

namespace quillbay::plain {

namespace {

using Descriptor = boost::asio::posix::basic_stream_descriptor<boost::asio::io_context::executor_type>;

class AsioPoller final : public SocketPoller {
 public:
    AsioPoller() = default;
    AsioPoller(const AsioPoller&) = delete;
    AsioPoller& operator=(const AsioPoller&) = delete;
    ~AsioPoller() override {
        for (auto& [socket, member] : members_)
            member->descriptor.release();
    }

    void add(int socket, std::uint64_t tag, SocketEvents events) override {
        const auto member = std::make_shared<Member>(Descriptor(loop_), tag, events);
        boost::system::error_code error;
        member->descriptor.assign(socket, error);
        if (error) throw systemError(error.value());
        try {
            members_[socket] = member;
        } catch (...) {
            member->descriptor.release();
            throw;
        }
        watch(member);
    }

    bool change(int socket, std::uint64_t tag, SocketEvents events) override {
        const auto found = members_.find(socket);
        if (found == members_.end() || found->second->tag != tag) return false;
        found->second->events = events;
        watch(found->second);
        return true;
    }

    void remove(int socket) override {
        const auto found = members_.find(socket);
        if (found == members_.end()) return;
        found->second->descriptor.release();
        members_.erase(found);
    }

    std::span<const Ready> wait(std::optional<std::chrono::nanoseconds> limit) override {
        for (const std::shared_ptr<Member>& member : std::exchange(told_, {}))
            watch(member);
        ready_.clear();
        loop_.restart();
        if (limit)
            loop_.run_one_for(*limit);
        else
            loop_.run_one();
        loop_.poll();
        return ready_;
    }

    void wake() override {
        boost::asio::post(loop_, [] {});
    }

 private:
    struct Member {
        Descriptor descriptor;
        std::uint64_t tag;
        SocketEvents events;
        SocketEvents asked = SocketEvents::none;
    };

    void watch(const std::shared_ptr<Member>& member) {
        static constexpr std::array kinds{std::pair(SocketEvents::read, Descriptor::wait_read),
                                          std::pair(SocketEvents::write, Descriptor::wait_write)};
        for (const auto& [event, wait] : kinds) {
            if ((without(member->events, member->asked) & event) == SocketEvents::none) continue;
            member->asked = member->asked | event;
            member->descriptor.async_wait(wait, [this, held = std::weak_ptr<Member>(member),
                                                 which = event](const boost::system::error_code& error) {
                const auto mine = held.lock();
                if (!error && mine) tell(mine, which);
            });
        }
    }

    void tell(const std::shared_ptr<Member>& member, SocketEvents event) {
        member->asked = without(member->asked, event);
        if ((member->events & event) == SocketEvents::none) return;  // asked for once, and no more
        ready_.push_back({member->tag, event});
        told_.push_back(member);
    }

    boost::asio::io_context loop_;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_{loop_.get_executor()};
    // Never waits: opens the loop's own descriptors now, where a shortage is the constructor's error.
    boost::asio::steady_timer opensTheLoop_{loop_};
    std::unordered_map<int, std::shared_ptr<Member>> members_;
    std::vector<std::shared_ptr<Member>> told_;
    std::vector<Ready> ready_;
};

}  // namespace

std::unique_ptr<SocketPoller> makeSocketPoller() {
    try {
        return std::make_unique<AsioPoller>();
    } catch (const boost::system::system_error& error) {
        throw systemError(error.code().value());
    }
}

}  // namespace quillbay::plain

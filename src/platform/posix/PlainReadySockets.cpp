#include "platform/posix/PlainReadySockets.h"

#include <boost/asio/posix/basic_stream_descriptor.hpp>
#include <unordered_map>
#include <utility>

#include "platform/PrintedError.h"

namespace quillbay::plain {

namespace {

using Descriptor = boost::asio::posix::basic_stream_descriptor<boost::asio::io_context::executor_type>;

/// Held by the set alone; the waits hold it weakly.
class Members : public std::enable_shared_from_this<Members> {
 public:
    Members(boost::asio::io_context& loop, ReadySockets::Handler handler)
        : loop_(loop), handler_(std::move(handler)) {}
    Members(const Members&) = delete;
    Members& operator=(const Members&) = delete;
    ~Members() {
        for (auto& [socket, member] : members_)
            member->descriptor.release();
    }

    void add(int socket, std::uint64_t tag) {
        const auto member = std::make_shared<Member>(Descriptor(loop_), tag);
        boost::system::error_code error;
        member->descriptor.assign(socket, error);
        if (error) throw systemError(error.value());
        members_[socket] = member;
        wait(socket, member);
    }

    void remove(int socket) {
        const auto found = members_.find(socket);
        if (found == members_.end()) return;
        found->second->descriptor.release();
        members_.erase(found);
    }

 private:
    struct Member {
        Descriptor descriptor;
        std::uint64_t tag;
    };

    void wait(int socket, const std::shared_ptr<Member>& member) {
        member->descriptor.async_wait(Descriptor::wait_read,
                                      [weak = weak_from_this(), held = std::weak_ptr<Member>(member),
                                       socket](const boost::system::error_code& error) {
                                          const auto self = weak.lock();
                                          const auto mine = held.lock();
                                          if (error || !self || !mine) return;
                                          self->handler_(std::span(&mine->tag, 1));
                                          // Removed in the meantime, it may have a successor of the same
                                          // number.
                                          const auto found = self->members_.find(socket);
                                          if (found != self->members_.end() && found->second == mine)
                                              self->wait(socket, mine);
                                      });
    }

    boost::asio::io_context& loop_;
    const ReadySockets::Handler handler_;
    std::unordered_map<int, std::shared_ptr<Member>> members_;
};

class PlainReadySockets final : public ReadySockets {
 public:
    PlainReadySockets(boost::asio::io_context& loop, Handler handler)
        : members_(std::make_shared<Members>(loop, std::move(handler))) {}

    void add(int socket, std::uint64_t tag) override { members_->add(socket, tag); }
    void remove(int socket) override { members_->remove(socket); }

 private:
    std::shared_ptr<Members> members_;
};

}  // namespace

std::unique_ptr<ReadySockets> makeReadySockets(boost::asio::io_context& loop, ReadySockets::Handler handler) {
    return std::make_unique<PlainReadySockets>(loop, std::move(handler));
}

}  // namespace quillbay::plain

#pragma once

#include <boost/asio/io_context.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace quillbay {

/// Tells which of many sockets have something to receive, several of them in one turn of the loop where the
/// system can. Used on its loop only.
///
/// A socket is told of again until nothing is left in it; one that has failed or was shut down counts as
/// having something. An idle socket costs next to nothing here.
class ReadySockets {
 public:
    /// Gets the tags of the sockets that have something. It may add and remove sockets, and tags that it gets
    /// may be of sockets that it has just removed; it must not destroy the object.
    using Handler = std::function<void(std::span<const std::uint64_t> tags)>;

    virtual ~ReadySockets() = default;
    ReadySockets(const ReadySockets&) = delete;
    ReadySockets& operator=(const ReadySockets&) = delete;

    /// The socket stays the caller's. Throws std::system_error when the system does not take it.
    virtual void add(int socket, std::uint64_t tag) = 0;
    /// Must come before the socket is closed.
    virtual void remove(int socket) = 0;

 protected:
    ReadySockets() = default;
};

/// Throws std::system_error when there is no descriptor for it.
std::unique_ptr<ReadySockets> makeReadySockets(boost::asio::io_context& loop, ReadySockets::Handler handler);

}  // namespace quillbay

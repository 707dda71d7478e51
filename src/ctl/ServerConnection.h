#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/UniqueDescriptor.h"

namespace quillbay::ctl {

/// There is no program to be asked.
class NothingRunning : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// Whoever read what this program prints has gone.
class ReaderGone : public std::runtime_error {
 public:
    ReaderGone() : std::runtime_error("Nobody reads any more.") {}
};

/// The connection to the running program. All calls block.
class ServerConnection {
 public:
    /// Throws NothingRunning when nobody listens at `path`, and std::runtime_error or std::system_error when
    /// the connection cannot be made or the listener is another user's.
    explicit ServerConnection(const std::filesystem::path& path);

    /// Sends one request. A connection that the other side has closed is no error yet: it may have said why.
    void send(std::string_view request);

    /// The next document, without its line feed; nothing when the other side has closed the connection.
    /// Throws std::runtime_error for one that is longer than any that makes sense, and ReaderGone when
    /// nobody is left at the other end of the descriptor `output`: it may be long until the next document.
    std::optional<std::string> receive(int output);

 private:
    /// A list of the 10,000 phones that are kept at most, each with the longest record, is well below this.
    static constexpr std::size_t maxDocumentBytes = std::size_t{256} * 1024 * 1024;

    UniqueDescriptor socket_;
    std::string input_;
    /// Before this there is no line feed in `input_`.
    std::size_t searched_ = 0;
};

}  // namespace quillbay::ctl

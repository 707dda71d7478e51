#include "bridge/TunnelPortWatcher.h"

#include <re2/re2.h>

#include <atomic>
#include <charconv>
#include <utility>

#include "platform/ChildOutputReader.h"
#include "platform/ChildProcess.h"
#include "platform/LineBuffer.h"
#include "platform/SerialQueue.h"

namespace quillbay {

namespace {

/// Every watcher's queue lies on the loop of port 0: log lines are few, and one loop sees them all.
constexpr std::uint16_t queuePort = 0;
constexpr const char* queueLabel = "com.local.mirel.Quillbay.tunnel-port-watcher";

}  // namespace

std::optional<std::uint16_t> tunnelPortInLogLine(std::string_view line) {
    static const re2::RE2 pattern("Got tunnel endpoint: '[^']*:(\\d+)'");
    re2::StringPiece digits;
    if (!re2::RE2::PartialMatch(re2::StringPiece(line.data(), line.size()), pattern, &digits))
        return std::nullopt;
    std::uint16_t port = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    if (result.ec != std::errc{}) return std::nullopt;
    return port;
}

/// One run of the follower. Held by the watcher alone; what is read after it has been dropped reaches nobody.
struct TunnelPortWatcher::Session : std::enable_shared_from_this<Session> {
    Session(ChildProcess follower, std::function<void(std::uint16_t)> handler, std::function<void()> atEnd)
        : child(std::move(follower)), onPort(std::move(handler)), onEnd(std::move(atEnd)) {}

    void read(const SerialQueue& queue) {
        auto handler = [weak = weak_from_this()](const std::string& text) {
            if (const auto self = weak.lock()) self->consume(text);
        };
        auto atEnd = [weak = weak_from_this()] {
            const auto self = weak.lock();
            if (self && self->onEnd && !self->stopped) self->onEnd();
        };
        reader = std::make_unique<ChildOutputReader>(queue, child.takeStandardOutput(), std::move(handler),
                                                     std::move(atEnd));
    }

    void consume(std::string_view text) {
        lines.append(text, [this](std::string_view line) {
            const auto port = tunnelPortInLogLine(line);
            if (port && onPort && !stopped) onPort(*port);
        });
    }

    void stop() {
        stopped = true;
        if (reader) reader->stop();
        if (child.isRunning()) child.terminate();
    }

    const ChildProcess child;
    /// Copies, so that the owner may change its own on the main queue while these are called on the
    /// watcher's.
    const std::function<void(std::uint16_t)> onPort;
    const std::function<void()> onEnd;
    LineBuffer lines;
    std::atomic<bool> stopped = false;
    std::unique_ptr<ChildOutputReader> reader;
};

TunnelPortWatcher::TunnelPortWatcher(HostTools tools, NetworkThreads& network)
    : tools_(std::move(tools)), network_(network) {}

TunnelPortWatcher::~TunnelPortWatcher() {
    stop();
}

void TunnelPortWatcher::start() {
    stop();
    const HostTools::Tool& tool = tools_.logFollower;
    const ChildCommand command{tool.executable, tool.leadingArguments, ChildCommand::Output::pipe,
                               ChildCommand::Output::null};
    session_ = std::make_shared<Session>(ChildProcess::launch(command), onPort, onEnd);
    session_->read(network_.queueFor(queuePort, queueLabel));
}

void TunnelPortWatcher::stop() {
    if (!session_) return;
    session_->stop();
    session_.reset();
}

}  // namespace quillbay

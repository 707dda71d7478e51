#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "platform/ChildProcess.h"
#include "platform/PrintedError.h"
#include "platform/posix/ChildDescriptors.h"

namespace quillbay {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// What a tool left running in the background may hold open for ever: long enough for output in flight.
constexpr milliseconds pipesAfterEnd{1000};

/// A tool that is run for its answer has little to tidy up, and whoever abandons it waits for it.
constexpr milliseconds abandonGrace{250};

void setNonBlocking(int descriptor) {
    const int flags = ::fcntl(descriptor, F_GETFL);
    if (flags < 0 || ::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) != 0) throw systemError(errno);
}

/// Ends a `poll` from another thread.
class Wake {
 public:
    Wake() : ends_(openPipe()) {
        setNonBlocking(ends_.reading.get());
        setNonBlocking(ends_.writing.get());
    }

    [[nodiscard]] int descriptor() const { return ends_.reading.get(); }

    void signal() const {
        ssize_t written = 0;
        do {
            written = ::write(ends_.writing.get(), "", 1);
        } while (written < 0 && errno == EINTR);
        // A pipe that is full wakes as well, and nothing else can fail here.
    }

    /// Forgets the signals so far. There are two at most: the child's end and the stop.
    void clear() const {
        std::array<char, 16> bytes{};
        [[maybe_unused]] const ssize_t count = ::read(ends_.reading.get(), bytes.data(), bytes.size());
    }

 private:
    PipeEnds ends_;
};

/// One output, as far as it has been read.
class Collector {
 public:
    Collector(UniqueDescriptor pipe, std::size_t limitBytes)
        : pipe_(std::move(pipe)), limitBytes_(limitBytes) {}

    [[nodiscard]] int descriptor() const { return pipe_.get(); }
    [[nodiscard]] bool open() const { return pipe_.valid(); }
    [[nodiscard]] bool truncated() const { return truncated_; }
    std::string takeText() { return std::move(text_); }

    void read() {
        std::array<char, std::size_t{64} * 1024> buffer;
        const ssize_t count = ::read(pipe_.get(), buffer.data(), buffer.size());
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
        if (count <= 0) {
            pipe_.reset();
            return;
        }
        const auto received = static_cast<std::size_t>(count);
        const std::size_t kept = std::min(received, limitBytes_ - text_.size());
        text_.append(buffer.data(), kept);
        if (kept < received) truncated_ = true;
    }

 private:
    UniqueDescriptor pipe_;
    std::size_t limitBytes_;
    std::string text_;
    bool truncated_ = false;
};

/// The time left of `limit`, for `poll`; -1 for no limit.
int remaining(steady_clock::time_point since, std::optional<milliseconds> limit) {
    if (!limit) return -1;
    constexpr milliseconds longest = std::chrono::hours(1);
    const auto passed = std::chrono::duration_cast<milliseconds>(steady_clock::now() - since);
    return static_cast<int>(std::clamp(*limit - passed, milliseconds(0), longest).count());
}

void readWhatIsThere(Collector& output, Collector& error, const Wake& wake, int timeout) {
    std::array<pollfd, 3> waits{
        {{output.descriptor(), POLLIN, 0}, {error.descriptor(), POLLIN, 0}, {wake.descriptor(), POLLIN, 0}}};
    const int ready = ::poll(waits.data(), static_cast<nfds_t>(waits.size()), timeout);
    if (ready < 0 && errno != EINTR && errno != EAGAIN) throw systemError(errno);
    if (ready <= 0) return;
    if (waits[0].revents != 0) output.read();
    if (waits[1].revents != 0) error.read();
    if (waits[2].revents != 0) wake.clear();
}

/// Reads until the child has ended and its pipes are closed. False when stopped or out of time before that.
bool collect(const ChildProcess& child, Collector& output, Collector& error, const Wake& wake,
             const StopToken& token, std::optional<milliseconds> limit) {
    const auto begin = steady_clock::now();
    std::optional<steady_clock::time_point> ended;
    while (true) {
        if (token.stopRequested() || remaining(begin, limit) == 0) return false;
        if (!ended && !child.isRunning()) ended = steady_clock::now();
        if (ended && !output.open() && !error.open()) return true;
        int timeout = remaining(begin, limit);
        if (ended) {
            const int left = remaining(*ended, pipesAfterEnd);
            if (left == 0) return true;
            timeout = timeout < 0 ? left : std::min(timeout, left);
        }
        readWhatIsThere(output, error, wake, timeout);
    }
}

}  // namespace

std::optional<ChildResult> runToEnd(const ChildCommand& command, std::size_t limitBytes,
                                    const StopToken& token, std::optional<milliseconds> limit) {
    const auto wake = std::make_shared<const Wake>();
    const ChildProcess child = ChildProcess::launch(command);
    Collector output(child.takeStandardOutput(), limitBytes);
    Collector error(child.takeStandardError(), limitBytes);
    child.onExit([wake](ExitStatus) { wake->signal(); });
    const StopRegistration registration = token.onStop([wake] { wake->signal(); });

    bool complete = false;
    try {
        complete = collect(child, output, error, *wake, token, limit);
    } catch (...) {
        child.terminateAndWait(abandonGrace);
        throw;
    }
    if (!complete) {
        child.terminateAndWait(abandonGrace);
        return std::nullopt;
    }
    ChildResult result;
    result.status = child.waitForExit();
    result.standardOutput = output.takeText();
    result.standardError = error.takeText();
    result.truncated = output.truncated() || error.truncated();
    return result;
}

}  // namespace quillbay

#include "platform/ChildOutputReader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <future>
#include <memory>
#include <mutex>
#include <optional>

#include "fakes/ProcessResources.h"
#include "fakes/Tools.h"
#include "fakes/WaitUntil.h"
#include "platform/ChildProcess.h"
#include "platform/LineBuffer.h"
#include "platform/NetworkThreads.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;
using fakes::piped;
using fakes::toolPath;
using fakes::waitUntil;

using ChildOutputReaderTest = fakes::LeavesNothingBehind;

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
        reading.reset(ends[0]);
        writing.reset(ends[1]);
    }
    void write(std::string_view text) const {
        EXPECT_EQ(::write(writing.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    /// Writes and waits until the other side has read all of it, so that the next write is another chunk.
    void writeChunk(std::string_view text) const {
        write(text);
        EXPECT_TRUE(waitUntil([this] {
            int waiting = 0;
            return ::ioctl(writing.get(), FIONREAD, &waiting) == 0 && waiting == 0;
        }));
    }
    /// Whether the other side has closed its end.
    [[nodiscard]] bool isClosed() const {
        pollfd wait{writing.get(), 0, 0};
        return ::poll(&wait, 1, 0) == 1 && (wait.revents & POLLERR) != 0;
    }
    UniqueDescriptor reading;
    UniqueDescriptor writing;
};

/// What a reader hands on, for a test on another thread.
class Received {
 public:
    ChildOutputReader::Handler handler() {
        return [this](const std::string& text) {
            const std::lock_guard lock(mutex_);
            text_ += text;
            ++calls_;
        };
    }
    Task atEnd() {
        return [this] { ++ends_; };
    }
    [[nodiscard]] std::string text() const {
        const std::lock_guard lock(mutex_);
        return text_;
    }
    [[nodiscard]] bool ended() const { return ends_ > 0; }
    [[nodiscard]] int ends() const { return ends_; }

 private:
    mutable std::mutex mutex_;
    std::string text_;
    int calls_ = 0;
    std::atomic<int> ends_ = 0;
};

TEST_F(ChildOutputReaderTest, hands_on_what_a_child_prints_and_its_end) {
    const SerialQueue queue = SerialQueue::withOwnThread("reader");
    Received received;
    const ChildProcess child = ChildProcess::launch(piped("/bin/echo", {"one line"}));
    const ChildOutputReader reader(queue, child.takeStandardOutput(), received.handler(), received.atEnd());
    EXPECT_TRUE(waitUntil([&] { return received.ended(); }));
    queue.sync([] {});
    EXPECT_EQ(received.text(), "one line\n");
    EXPECT_EQ(received.ends(), 1);
    EXPECT_TRUE(child.waitForExit().success());
}

TEST_F(ChildOutputReaderTest, joins_a_character_that_comes_one_byte_per_read) {
    const SerialQueue queue = SerialQueue::withOwnThread("reader");
    Received received;
    Pipe pipe;
    const ChildOutputReader reader(queue, std::move(pipe.reading), received.handler(), received.atEnd());
    for (const std::string_view byte : {"a", "\xF0", "\x9F", "\x93", "\xB1", "\xC3", "\xA9", "b"})
        pipe.writeChunk(byte);
    pipe.writing.reset();
    EXPECT_TRUE(waitUntil([&] { return received.ended(); }));
    EXPECT_EQ(received.text(),
              "a\xF0\x9F\x93\xB1\xC3\xA9"
              "b");
}

TEST_F(ChildOutputReaderTest, drops_a_chunk_that_is_no_text_and_goes_on) {
    const SerialQueue queue = SerialQueue::withOwnThread("reader");
    Received received;
    Pipe pipe;
    const ChildOutputReader reader(queue, std::move(pipe.reading), received.handler(), received.atEnd());
    for (const std::string_view chunk : {"before ", "bad \xFF bad", "after"})
        pipe.writeChunk(chunk);
    pipe.writing.reset();
    EXPECT_TRUE(waitUntil([&] { return received.ended(); }));
    EXPECT_EQ(received.text(), "before after");
}

TEST_F(ChildOutputReaderTest, holds_little_of_a_line_of_100_megabytes) {
    constexpr std::size_t lineBytes = 100'000'000;
    const SerialQueue queue = SerialQueue::withOwnThread("reader");
    LineBuffer lines;
    std::vector<std::string> kept;
    std::size_t bytes = 0;
    std::size_t peak = 0;
    std::promise<void> end;
    const ChildProcess child =
        ChildProcess::launch(piped(toolPath("prints-long-line"), {std::to_string(lineBytes)}));
    const std::size_t before = fakes::residentBytes();
    const ChildOutputReader reader(
        queue, child.takeStandardOutput(),
        [&](const std::string& text) {
            bytes += text.size();
            lines.append(text, [&](std::string_view line) { kept.emplace_back(line); });
            peak = std::max(peak, fakes::residentBytes());
        },
        [&] { end.set_value(); });
    ASSERT_EQ(end.get_future().wait_for(60s), std::future_status::ready);
    EXPECT_EQ(bytes, lineBytes + 7);
    EXPECT_EQ(kept, std::vector<std::string>{"after"});
    if (fakes::memoryCanBeMeasured) {
        EXPECT_LT(peak - std::min(peak, before), std::size_t{8} << 20U);
    }
    EXPECT_TRUE(child.waitForExit().success());
}

TEST_F(ChildOutputReaderTest, slows_a_flooding_child_down_while_the_handler_is_busy) {
    const SerialQueue queue = SerialQueue::withOwnThread("reader");
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<std::size_t> bytes = 0;
    const ChildProcess child = ChildProcess::launch(piped("/usr/bin/yes"));
    const UniqueDescriptor pipe = child.takeStandardOutput();
    ChildOutputReader reader(queue, UniqueDescriptor(::fcntl(pipe.get(), F_DUPFD_CLOEXEC, 0)),
                             [&, first = true](const std::string& text) mutable {
                                 bytes += text.size();
                                 if (!std::exchange(first, false)) return;
                                 entered.set_value();
                                 release.get_future().wait();
                             });
    entered.get_future().wait();
    int waiting = 0;
    EXPECT_TRUE(waitUntil([&] { return ::ioctl(pipe.get(), FIONREAD, &waiting) == 0 && waiting >= 60'000; }));
    EXPECT_LE(bytes, 16'384U);
    release.set_value();
    EXPECT_TRUE(waitUntil([&] { return bytes > 1'000'000; }));
    reader.stop();
    queue.sync([] {});  // one handler may still be running, and it uses what is above
    child.terminateAndWait();
}

TEST_F(ChildOutputReaderTest, closes_the_pipe_when_it_is_stopped) {
    NetworkThreads network(1);
    const SerialQueue queue = network.queueFor(0, "reader");
    Received received;
    Pipe pipe;
    ChildOutputReader reader(queue, std::move(pipe.reading), received.handler(), received.atEnd());
    pipe.writeChunk("first");
    reader.stop();
    reader.stop();
    EXPECT_TRUE(waitUntil([&] { return pipe.isClosed(); }));
    network.drain();
    EXPECT_FALSE(received.ended());
}

TEST_F(ChildOutputReaderTest, runs_no_handler_after_a_stop_on_the_queue) {
    NetworkThreads network(1);
    const SerialQueue queue = network.queueFor(0, "reader");
    std::atomic<int> calls = 0;
    Pipe pipe;
    pipe.write("waiting");
    std::unique_ptr<ChildOutputReader> reader;
    queue.sync([&] {
        reader = std::make_unique<ChildOutputReader>(
            queue, std::move(pipe.reading), [&](const std::string&) { ++calls; }, [&] { ++calls; });
        reader->stop();
    });
    pipe.writing.reset();
    network.drain();
    network.drain();
    EXPECT_EQ(calls, 0);
}

TEST_F(ChildOutputReaderTest, may_be_dropped_inside_its_handler) {
    NetworkThreads network(1);
    const SerialQueue queue = network.queueFor(0, "reader");
    std::promise<std::string> got;
    Pipe pipe;
    std::optional<ChildOutputReader> reader;
    queue.sync([&] {
        reader.emplace(queue, std::move(pipe.reading), [&](const std::string& text) {
            reader.reset();
            got.set_value(text);
        });
    });
    pipe.write("text");
    EXPECT_EQ(got.get_future().get(), "text");
    network.drain();
    EXPECT_TRUE(pipe.isClosed());
}

TEST_F(ChildOutputReaderTest, may_be_dropped_just_before_the_network_threads_end) {
    Pipe pipe;
    Received received;
    std::optional<NetworkThreads> network(2);
    const ChildOutputReader reader(network->queueFor(1, "reader"), std::move(pipe.reading),
                                   received.handler());
    pipe.writeChunk("x");
}

TEST_F(ChildOutputReaderTest, throws_without_a_pipe) {
    const SerialQueue queue = SerialQueue::withOwnThread("reader");
    EXPECT_THROW(ChildOutputReader(queue, UniqueDescriptor(), [](const std::string&) {}), std::system_error);
}

}  // namespace
}  // namespace quillbay

#include "ui/shell/RunningInstance.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

#include "fakes/TemporaryFolder.h"
#include "platform/LocalSockets.h"

namespace quillbay {
namespace {

using namespace std::chrono_literals;

/// A program that takes one request and answers with these bytes, then closes.
class AnsweringProgram {
 public:
    AnsweringProgram(const std::filesystem::path& path, std::string answer)
        : listener_(listenLocal(path)), thread_([this, answer = std::move(answer)] { serve(answer); }) {}
    ~AnsweringProgram() { thread_.join(); }

    std::string request;

 private:
    void serve(const std::string& answer) {
        pollfd wait{listener_.get(), POLLIN, 0};
        if (::poll(&wait, 1, 20'000) != 1) return;
        const UniqueDescriptor client(::accept(listener_.get(), nullptr, nullptr));
        std::array<char, 4096> chunk{};
        if (const ssize_t count = ::recv(client.get(), chunk.data(), chunk.size(), 0); count > 0)
            request.assign(chunk.data(), static_cast<std::size_t>(count));
        static_cast<void>(::send(client.get(), answer.data(), answer.size(), MSG_NOSIGNAL) > 0);
    }

    UniqueDescriptor listener_;
    std::thread thread_;
};

class RunningInstanceTest : public ::testing::Test {
 protected:
    InstanceClaim claim(WhenRunning when = WhenRunning::activate,
                        const std::optional<std::string>& token = std::nullopt,
                        std::chrono::milliseconds patience = 20s) const {
        return claimInstance(folder.path(), socket, when, token, patience);
    }
    /// This process; the lock is on an open folder, so it works within one process too.
    [[nodiscard]] InstanceLock takeLock() const { return InstanceLock::take(folder.path()); }

    fakes::TemporaryFolder folder;
    std::filesystem::path socket = folder.path() / "control.sock";
};

TEST_F(RunningInstanceTest, the_first_one_gets_the_lock) {
    const InstanceClaim first = claim();
    EXPECT_TRUE(first.lock);
    EXPECT_FALSE(first.activated);
    EXPECT_THROW(static_cast<void>(takeLock()), AlreadyRunningError);
}

TEST_F(RunningInstanceTest, the_second_one_has_the_first_come_to_the_front) {
    const InstanceLock held = takeLock();
    AnsweringProgram first(socket, "{}\n");
    const InstanceClaim second = claim();
    EXPECT_TRUE(second.activated);
    EXPECT_FALSE(second.lock);
    EXPECT_EQ(first.request, "{\"command\":\"activate\"}\n");
}

TEST_F(RunningInstanceTest, hands_over_the_desktops_leave) {
    const InstanceLock held = takeLock();
    AnsweringProgram first(socket, "{}\n");
    EXPECT_TRUE(claim(WhenRunning::activate, "a \"token\"").activated);
    EXPECT_EQ(first.request, "{\"command\":\"activate\",\"token\":\"a \\\"token\\\"\"}\n");
}

TEST_F(RunningInstanceTest, keeps_a_token_to_itself_that_is_no_text) {
    const InstanceLock held = takeLock();
    AnsweringProgram first(socket, "{}\n");
    EXPECT_TRUE(claim(WhenRunning::activate, "\xff").activated);
    EXPECT_EQ(first.request, "{\"command\":\"activate\"}\n");
}

TEST_F(RunningInstanceTest, says_why_the_first_one_would_not) {
    const InstanceLock held = takeLock();
    const AnsweringProgram first(socket, "{\"error\":\"The program that runs has no windows.\"}\n");
    const InstanceClaim second = claim();
    EXPECT_FALSE(second.activated);
    EXPECT_FALSE(second.lock);
    EXPECT_EQ(second.refusal, "Quillbay is running already. The program that runs has no windows.");
}

TEST_F(RunningInstanceTest, leaves_the_first_one_alone_when_it_is_to_stay_hidden) {
    const InstanceLock held = takeLock();
    const InstanceClaim second = claim(WhenRunning::leaveAlone);
    EXPECT_TRUE(second.activated);
    EXPECT_FALSE(second.lock);
}

TEST_F(RunningInstanceTest, waits_for_one_that_is_only_starting) {
    const InstanceLock held = takeLock();
    std::optional<AnsweringProgram> first;
    std::thread starting([&] {
        std::this_thread::sleep_for(200ms);
        first.emplace(socket, "{}\n");
    });
    EXPECT_TRUE(claim().activated);
    starting.join();
}

TEST_F(RunningInstanceTest, takes_the_place_of_one_that_is_just_ending) {
    std::optional<InstanceLock> held = takeLock();
    std::thread ending([&] {
        std::this_thread::sleep_for(200ms);
        held.reset();
    });
    EXPECT_TRUE(claim().lock);
    ending.join();
}

TEST_F(RunningInstanceTest, gives_up_on_one_that_does_not_answer) {
    const InstanceLock held = takeLock();
    const UniqueDescriptor listening = listenLocal(socket);
    const auto begin = std::chrono::steady_clock::now();
    const InstanceClaim second = claim(WhenRunning::activate, std::nullopt, 300ms);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 240ms);
    EXPECT_FALSE(second.lock);
    EXPECT_FALSE(second.activated);
    EXPECT_EQ(second.refusal, "Quillbay is running already (process " + std::to_string(::getpid()) +
                                  "). It does not answer.");
}

TEST_F(RunningInstanceTest, what_is_no_answer_is_none) {
    const InstanceLock held = takeLock();
    const AnsweringProgram first(socket, "[1,2\n");
    const InstanceClaim second = claim(WhenRunning::activate, std::nullopt, 300ms);
    EXPECT_FALSE(second.activated);
    EXPECT_FALSE(second.lock);
}

}  // namespace
}  // namespace quillbay

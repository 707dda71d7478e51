// The socket itself: who gets in, what a connection may do, and what is left when it goes.

#include "control/ControlServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "control/ControlConnection.h"
#include "control/ControlFixture.h"
#include "control/ControlListener.h"
#include "fakes/Leaks.h"
#include "platform/ForkedChild.h"
#include "platform/RuntimeFolder.h"

namespace quillbay {
namespace {

using fakes::ControlClient;
using ::testing::HasSubstr;

using ControlServerTest = ControlFixture;

constexpr const char* status = R"({"command":"status"})";
constexpr const char* overallOff = "\"overall\":\"off\"";

mode_t modeOf(const std::filesystem::path& path) {
    struct stat found{};
    EXPECT_EQ(::lstat(path.c_str(), &found), 0) << path;
    constexpr mode_t permissions = 07777;
    return found.st_mode & permissions;
}

/// What another process that asks the socket reads; its last act before that is `before`.
std::string answerToOtherProcess(const std::filesystem::path& path, const std::function<void()>& before) {
    before();
    const UniqueDescriptor socket = connectLocal(path);
    std::string answer;
    const bool ended = fakes::waitUntil([&] {
        std::array<char, 4096> chunk{};
        const ssize_t count = ::recv(socket.get(), chunk.data(), chunk.size(), 0);
        if (count > 0) answer.append(chunk.data(), static_cast<std::size_t>(count));
        return count == 0 || (count < 0 && errno != EAGAIN);
    });
    return answer + (ended ? "(closed)" : "(nothing)");
}

TEST_F(ControlServerTest, the_socket_is_for_the_user_alone) {
    serve();
    EXPECT_EQ(server->socketPath(), world.folder.path() / "run" / "quillbay" / "control.sock");
    EXPECT_EQ(modeOf(server->socketPath()), 0600U);
    EXPECT_EQ(modeOf(server->socketPath().parent_path()), 0700U);
}

TEST_F(ControlServerTest, another_user_is_told_so_and_disconnected) {
    if (::geteuid() != 0) return;  // only root can become another user
    serve();
    // As if somebody had loosened what keeps others out before they can connect.
    for (auto path = server->socketPath(); path != world.folder.path().parent_path();
         path = path.parent_path())
        ASSERT_EQ(::chmod(path.c_str(), 0777), 0);
    const std::filesystem::path path = server->socketPath();
    // The server needs no main queue for this, so the test may wait for the child.
    inChild([&path] {
        EXPECT_EQ(answerToOtherProcess(path, [] { ASSERT_EQ(::setuid(65534), 0); }),
                  "{\"error\":\"Only the user whose program this is may use it.\"}\n(closed)");
    });
    EXPECT_THAT(ask(status), HasSubstr(overallOff));
}

TEST(ControlServerOfAnyUser, root_is_another_user_too) {
    if (::geteuid() != 0) return;  // only root can start a server as another user
    inChild([] {
        ASSERT_EQ(::seteuid(65534), 0);
        fakes::TestHost world;
        const auto coordinator = AppCoordinator::make(world.host);
        const ControlServer server(world.host, *coordinator);
        const std::string answer = answerToOtherProcess(server.socketPath(), [] {
            // This thread alone: the server's stay what they are.
            ASSERT_EQ(::syscall(SYS_setresuid, -1, 0, -1), 0);
        });
        EXPECT_EQ(answer, "{\"error\":\"Only the user whose program this is may use it.\"}\n(closed)");
    });
}

TEST_F(ControlServerTest, a_hundred_clients_are_served_at_once) {
    serve();
    std::vector<std::unique_ptr<ControlClient>> clients;
    for (int count = 0; count < 100; ++count)
        clients.push_back(std::make_unique<ControlClient>(world, server->socketPath()));
    for (const auto& each : clients)
        ASSERT_TRUE(each->send(status));
    for (const auto& each : clients)
        ASSERT_THAT(each->receive(), HasSubstr(overallOff));
    for (const auto& each : clients)
        ASSERT_THAT(each->ask(status), HasSubstr(overallOff)) << "connections last";
}

TEST_F(ControlServerTest, one_client_too_many_is_told_so_and_a_place_that_becomes_free_is_given) {
    serve();
    std::vector<std::unique_ptr<ControlClient>> clients;
    for (std::size_t count = 0; count < ControlListener::maxClients; ++count)
        clients.push_back(std::make_unique<ControlClient>(world, server->socketPath()));
    ControlClient surplus = client();
    EXPECT_EQ(surplus.receive(), R"({"error":"Too many clients are connected."})");
    EXPECT_EQ(surplus.receive(), "(closed)");
    clients.pop_back();
    EXPECT_TRUE(world.until([&] { return ask(status).find(overallOff) != std::string::npos; }));
    EXPECT_THAT(clients.front()->ask(status), HasSubstr(overallOff));
}

TEST_F(ControlServerTest, requests_of_one_client_are_answered_in_order) {
    serve({profile("iphone")});
    useClient("tailscale", "exec sleep 60\n");
    auto asking = client();
    ASSERT_TRUE(asking.send(R"({"command":"peers","provider":"tailscale"})"));
    ASSERT_TRUE(asking.sendBytes("{\"command\":\"stop\",\"profile\":\"iphone\"}\nnonsense\n"));
    // Another one's question has been there and back, and still none of these is answered.
    ASSERT_THAT(ask(status), HasSubstr(overallOff));
    ASSERT_TRUE(asking.send(R"({"command":"log"})"));
    ASSERT_THAT(ask(status), HasSubstr(overallOff));
    EXPECT_FALSE(asking.hasReceived());
    usePeers({});
    EXPECT_EQ(asking.receive(), R"({"provider":"tailscale","peers":[]})");
    EXPECT_EQ(asking.receive(), R"({"id":"iphone.local#tailscale"})");
    EXPECT_THAT(asking.receive(), HasSubstr("not a JSON object"));
    EXPECT_EQ(asking.receive(), "{}");
}

TEST_F(ControlServerTest, a_request_may_come_byte_by_byte) {
    serve();
    auto asking = client();
    for (const char byte : std::string(status) + "\n")
        ASSERT_TRUE(asking.sendBytes(std::string(1, byte)));
    EXPECT_THAT(asking.receive(), HasSubstr(overallOff));
}

TEST_F(ControlServerTest, what_is_refused_leaves_the_connection_usable) {
    serve();
    auto asking = client();
    EXPECT_THAT(asking.ask("{"), HasSubstr("\"error\""));
    EXPECT_EQ(asking.ask(R"({"command":"fly"})"), R"({"error":"There is no command \"fly\"."})");
    EXPECT_EQ(asking.ask(R"({"command":"start","profile":1})"),
              R"({"error":"The \"profile\" of \"start\" must be text."})");
    EXPECT_THAT(asking.ask(status), HasSubstr(overallOff));
}

TEST_F(ControlServerTest, half_a_request_at_the_end_is_nothing) {
    serve({profile("iphone")});
    auto asking = client();
    ASSERT_TRUE(asking.sendBytes(R"({"command":"remove","profile":"iphone"})"));
    asking.endInput();
    EXPECT_EQ(asking.receive(), "(closed)");
    EXPECT_EQ(stored().size(), 1U);
}

TEST_F(ControlServerTest, who_ends_his_input_still_gets_his_answers) {
    serve();
    useClient("tailscale", "sleep 0.1; echo '{}'\n");
    auto asking = client();
    ASSERT_TRUE(
        asking.sendBytes("{\"command\":\"peers\",\"provider\":\"tailscale\"}\n{\"command\":\"log\"}\n"));
    asking.endInput();
    EXPECT_EQ(asking.receive(), R"({"provider":"tailscale","peers":[]})");
    EXPECT_EQ(asking.receive(), "{}");
    EXPECT_EQ(asking.receive(), "(closed)");
}

TEST_F(ControlServerTest, the_longest_request_is_taken_and_a_longer_one_refused) {
    serve();
    const std::string front = R"({"command":"stop","profile":")";
    auto longest = client();
    EXPECT_THAT(longest.ask(front + std::string(65536 - front.size() - 2, 'x') + "\"}"),
                HasSubstr("There is no profile"));
    auto longer = client();
    EXPECT_EQ(longer.ask(front + std::string(65537 - front.size() - 2, 'x') + "\"}"),
              R"({"error":"The request is longer than 65536 bytes."})");
    EXPECT_EQ(longer.receive(), "(closed)");
}

TEST_F(ControlServerTest, ten_megabytes_without_a_line_feed_are_refused_early) {
    serve();
    auto asking = client();
    EXPECT_FALSE(asking.sendBytes(std::string(10'000'000, 'x')));
    EXPECT_EQ(asking.receive(), R"({"error":"The request is longer than 65536 bytes."})");
    EXPECT_EQ(asking.receive(), "(closed)");
    EXPECT_THAT(ask(status), HasSubstr(overallOff));
}

TEST_F(ControlServerTest, ten_megabytes_of_requests_wait_outside_until_they_are_answered) {
    serve();
    useClient("tailscale", "exec sleep 60\n");
    auto asking = client();
    ASSERT_TRUE(asking.send(R"({"command":"peers","provider":"tailscale"})"));
    // As much as goes without an answer: what the connection takes and what the socket holds, no more.
    const std::string requests(1'000'000, '\n');
    std::size_t taken = 0;
    while (world.until([&] { return asking.trySend(requests, taken); }, std::chrono::seconds(1)) &&
           taken < 10'000'000) {
    }
    EXPECT_LT(taken, 2'000'000U);
    EXPECT_THAT(ask(status), HasSubstr(overallOff));
}

TEST_F(ControlServerTest, a_follower_that_does_not_read_is_disconnected_and_nobody_else_notices) {
    serve();
    auto lazy = client();
    auto reading = client();
    ASSERT_TRUE(lazy.send(R"({"command":"log","follow":true})"));
    ASSERT_TRUE(reading.send(R"({"command":"log","follow":true})"));
    ASSERT_THAT(ask(status), HasSubstr(overallOff));
    world.settle();
    const std::string line(100'000, 'x');
    // What the kernel takes and the limit, several times over.
    for (int count = 0; count < 50; ++count) {
        coordinator->logs().user(line);
        ASSERT_EQ(reading.receive(), "{\"line\":\"" + line + "\"}");
    }
    EXPECT_THAT(ask(status), HasSubstr(overallOff));
    std::size_t received = 0;
    std::string document = lazy.receive();
    for (; document != "(closed)" && document != "(nothing)"; document = lazy.receive())
        ++received;
    EXPECT_EQ(document, "(closed)");
    EXPECT_LT(received, 50U);
}

TEST_F(ControlServerTest, one_long_answer_disconnects_nobody) {
    serve();
    const std::string line(50'000, 'x');
    for (int count = 0; count < 200; ++count)
        coordinator->logs().user(line);
    auto reading = client();
    ASSERT_TRUE(reading.send(R"({"command":"log"})"));
    for (int count = 0; count < 200; ++count)
        ASSERT_EQ(reading.receive().size(), line.size() + 11);
    EXPECT_EQ(reading.receive(), "{}");
}

TEST_F(ControlServerTest, a_follower_that_leaves_is_forgotten) {
    serve();
    // Whoever writes the log has its file open for a moment.
    ASSERT_TRUE(coordinator->logs().flush());
    const std::size_t descriptors = fakes::openDescriptors();
    {
        auto following = client();
        ASSERT_TRUE(following.send(R"({"command":"log","follow":true})"));
        coordinator->logs().user("line");
        ASSERT_EQ(following.receive(), R"({"line":"line"})");
    }
    EXPECT_TRUE(world.until([&] { return fakes::openDescriptors() <= descriptors; }));
    coordinator->logs().user("for nobody");
}

TEST_F(ControlServerTest, a_client_that_goes_before_its_answer_changes_nothing_for_others) {
    serve();
    useClient("tailscale", "sleep 0.1; echo '{}'\n");
    auto staying = client();
    ASSERT_TRUE(staying.send(R"({"command":"peers","provider":"tailscale"})"));
    {
        auto leaving = client();
        ASSERT_TRUE(leaving.send(R"({"command":"peers","provider":"tailscale"})"));
    }
    EXPECT_EQ(staying.receive(), R"({"provider":"tailscale","peers":[]})");
}

TEST_F(ControlServerTest, its_end_disconnects_everybody_and_removes_the_socket) {
    serve();
    const std::filesystem::path path = server->socketPath();
    useClient("tailscale", "exec sleep 60\n");
    auto waiting = client();
    auto idle = client();
    ASSERT_TRUE(waiting.send(R"({"command":"peers","provider":"tailscale"})"));
    ASSERT_THAT(idle.ask(status), HasSubstr(overallOff));
    server.reset();
    EXPECT_EQ(waiting.receive(), "(closed)");
    EXPECT_EQ(idle.receive(), "(closed)");
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ControlServerTest, leaves_a_socket_alone_that_has_taken_the_place_of_its_own) {
    serve();
    const std::filesystem::path path = server->socketPath();
    std::filesystem::rename(path, path.string() + ".away");
    const UniqueDescriptor another = listenLocal(path);
    server.reset();
    EXPECT_TRUE(std::filesystem::is_socket(path));
}

TEST_F(ControlServerTest, takes_the_place_of_a_socket_that_nobody_serves) {
    std::filesystem::create_directories(world.folder.path() / "run");
    const auto folder = prepareRuntimeFolder(world.host.files.runtime);
    static_cast<void>(listenLocal(folder / "control.sock"));
    ASSERT_TRUE(std::filesystem::is_socket(folder / "control.sock"));
    serve();
    EXPECT_THAT(ask(status), HasSubstr(overallOff));
}

TEST_F(ControlServerTest, does_not_remove_what_is_no_socket) {
    const auto folder = prepareRuntimeFolder(world.host.files.runtime);
    std::ofstream(folder / "control.sock") << "mine";
    try {
        serve();
        FAIL() << "it was made";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()), "What is at " + (folder / "control.sock").string() +
                                                 " is no socket, and in the way of one.");
    }
    EXPECT_TRUE(std::filesystem::is_regular_file(folder / "control.sock"));
}

TEST_F(ControlServerTest, makes_and_ends_many_servers_without_leaving_anything) {
    serve();
    server.reset();
    world.settle();
    ASSERT_TRUE(coordinator->logs().flush());
    const std::size_t descriptors = fakes::openDescriptors();
    for (int count = 0; count < 20; ++count) {
        server = std::make_unique<ControlServer>(world.host, *coordinator);
        auto asking = client();
        ASSERT_THAT(asking.ask(status), HasSubstr(overallOff));
        server.reset();
    }
    EXPECT_TRUE(world.until([&] { return fakes::openDescriptors() <= descriptors; }));
}

}  // namespace
}  // namespace quillbay

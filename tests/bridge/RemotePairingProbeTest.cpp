#include "bridge/RemotePairingProbe.h"

#include <future>
#include <nlohmann/json.hpp>

#include "bridge/ProbeFixture.h"
#include "bridge/ProbedServer.h"
#include "fakes/FewDescriptors.h"

namespace quillbay {
namespace {

using fakes::ProbedServer;
using std::chrono::milliseconds;
using Result = RemotePairingProbeResult;

class RemotePairingProbeTest : public fakes::ProbeFixture {
 protected:
    Result ask(const std::string& host, std::uint16_t port, milliseconds limit = milliseconds(5000)) {
        return probe_->probe({host, port, 19}, limit, limit, StopToken());
    }
    Result ask(const ProbedServer& server, milliseconds limit = milliseconds(5000)) {
        return ask(server.address(), server.firstPort(), limit);
    }
};

std::string correlationOf(const std::string& frame) {
    const auto body = nlohmann::json::parse(frame.substr(11));
    return body["message"]["plain"]["_0"]["request"]["_0"]["handshake"]["_0"]["correlationIdentifier"]
               ["value"];
}

TEST_F(RemotePairingProbeTest, a_closed_port_is_refused_at_once) {
    std::uint16_t port = 0;
    std::string address;
    {
        const ProbedServer closedAgain(ProbedServer::Manner::ignores);
        address = closedAgain.address();
        port = closedAgain.firstPort();
    }
    Result result{};
    EXPECT_LT(took([&] { result = ask(address, port); }), milliseconds(1000));
    EXPECT_EQ(result, Result::refused);
}

TEST_F(RemotePairingProbeTest, a_port_that_accepts_and_closes_without_a_byte_is_open_but_silent) {
    const ProbedServer server(ProbedServer::Manner::closesAtOnce);
    Result result{};
    EXPECT_LT(took([&] { result = ask(server); }), milliseconds(2000));
    EXPECT_EQ(result, Result::openButSilent);
}

TEST_F(RemotePairingProbeTest, a_port_that_says_nothing_is_open_but_silent_after_the_reply_time) {
    const ProbedServer server(ProbedServer::Manner::staysSilent);
    Result result{};
    const milliseconds time = took([&] { result = ask(server, milliseconds(300)); });
    EXPECT_EQ(result, Result::openButSilent);
    EXPECT_GE(time, milliseconds(300));
    EXPECT_LT(time, milliseconds(1500));
}

TEST_F(RemotePairingProbeTest, a_port_that_connects_and_never_reads_is_open_but_silent) {
    const ProbedServer server(ProbedServer::Manner::ignores);
    EXPECT_EQ(ask(server, milliseconds(200)), Result::openButSilent);
}

TEST_F(RemotePairingProbeTest, one_byte_of_answer_makes_a_remote_pairing_port) {
    const ProbedServer server(ProbedServer::Manner::answers, 1, std::string(1, '\0'));
    EXPECT_EQ(ask(server), Result::remotePairingPort);
}

TEST_F(RemotePairingProbeTest, an_answer_longer_than_it_reads_makes_a_remote_pairing_port) {
    const ProbedServer server(ProbedServer::Manner::answers, 1, std::string(5000, 'x'));
    EXPECT_EQ(ask(server), Result::remotePairingPort);
}

TEST_F(RemotePairingProbeTest, two_handshakes_carry_different_correlation_values) {
    const ProbedServer server(ProbedServer::Manner::answers);
    EXPECT_EQ(ask(server), Result::remotePairingPort);
    EXPECT_EQ(ask(server), Result::remotePairingPort);
    const auto frames = server.received();
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[0].substr(0, 9), "RPPairing");
    EXPECT_EQ(correlationOf(frames[0]).size(), 6U);
    EXPECT_NE(correlationOf(frames[0]), correlationOf(frames[1]));
}

TEST_F(RemotePairingProbeTest, a_host_that_cannot_be_looked_up_does_not_respond) {
    EXPECT_EQ(ask("", 80), Result::noResponse);
    EXPECT_EQ(ask(std::string("127.0.0.1\0x", 11), 80), Result::noResponse);
}

TEST_F(RemotePairingProbeTest, goes_on_with_the_next_address_when_one_cannot_be_reached) {
    const ProbedServer server(ProbedServer::Manner::answers);
    EXPECT_EQ(askAll(*network_, {"255.255.255.255", server.address()}, server.firstPort()),
              Result::remotePairingPort);
}

TEST_F(RemotePairingProbeTest, a_refusal_of_one_address_counts_and_the_next_is_not_asked) {
    const ProbedServer server(ProbedServer::Manner::answers);
    EXPECT_EQ(askAll(*network_, {fakes::randomLoopbackAddress(), server.address()}, server.firstPort()),
              Result::refused);
    EXPECT_TRUE(server.received().empty());
}

TEST_F(RemotePairingProbeTest, an_address_that_is_open_but_silent_counts_and_the_next_is_not_asked) {
    const ProbedServer silent(ProbedServer::Manner::closesAtOnce);
    // The second one would refuse.
    EXPECT_EQ(askAll(*network_, {silent.address(), fakes::randomLoopbackAddress()}, silent.firstPort()),
              Result::openButSilent);
}

TEST_F(RemotePairingProbeTest, a_stop_ends_it_at_once) {
    const ProbedServer server(ProbedServer::Manner::staysSilent);
    const StopSource source;
    auto result = std::async(std::launch::async, [&] {
        return probe_->probe({server.address(), server.firstPort(), 19}, milliseconds(60000),
                             milliseconds(60000), source.token());
    });
    EXPECT_TRUE(eventually([&] { return server.openConnections() == 1; }));
    EXPECT_LT(took([&] {
                  source.requestStop();
                  EXPECT_EQ(result.get(), Result::noResponse);
              }),
              milliseconds(1000));
    EXPECT_TRUE(eventually([&] { return server.openConnections() == 0; }));
}

TEST_F(RemotePairingProbeTest, a_stop_before_it_begins_answers_no_response_and_connects_nowhere) {
    const ProbedServer server(ProbedServer::Manner::answers);
    const StopSource source;
    source.requestStop();
    EXPECT_EQ(probe_->probe({server.address(), server.firstPort(), 19}, milliseconds(5000),
                            milliseconds(5000), source.token()),
              Result::noResponse);
    EXPECT_TRUE(server.received().empty());
}

TEST_F(RemotePairingProbeTest, waits_for_a_descriptor_when_there_is_none) {
    const ProbedServer server(ProbedServer::Manner::ignores);
    // The thread is there before the shortage is: a new one may need descriptors of its own.
    std::promise<void> shortage;
    auto result = std::async(std::launch::async, [&] {
        shortage.get_future().wait();
        return ask(server, milliseconds(2000));
    });
    std::optional<fakes::FewDescriptors> none(std::in_place, 0);
    shortage.set_value();
    EXPECT_EQ(result.wait_for(milliseconds(300)), std::future_status::timeout);
    none.reset();
    EXPECT_EQ(result.get(), Result::openButSilent);
}

TEST_F(RemotePairingProbeTest, does_not_respond_when_no_descriptor_comes_in_time) {
    const ProbedServer server(ProbedServer::Manner::answers);
    const fakes::FewDescriptors none(0);
    Result result{};
    EXPECT_GE(took([&] { result = ask(server, milliseconds(200)); }), milliseconds(200));
    EXPECT_EQ(result, Result::noResponse);
}

TEST(RemotePairingProbeResultText, is_what_the_log_says) {
    EXPECT_EQ(describe(Result::refused), "connection refused, port closed");
    EXPECT_EQ(describe(Result::noResponse), "no response");
    EXPECT_EQ(describe(Result::openButSilent), "port open but not speaking RemotePairing protocol");
    EXPECT_EQ(describe(Result::remotePairingPort), "");
}

}  // namespace
}  // namespace quillbay

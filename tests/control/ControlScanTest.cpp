#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "control/ControlCommands.h"
#include "control/ControlFixture.h"
#include "fakes/FakePhone.h"

namespace quillbay {
namespace {

using fakes::FakePhone;
using ::testing::StartsWith;

class ControlScanTest : public ControlFixture {
 protected:
    /// The first document that is no progress.
    static std::string result(fakes::ControlClient& scanning) {
        std::string document = scanning.receive();
        while (document.starts_with(R"({"probed":)"))
            document = scanning.receive();
        return document;
    }

    /// The profile's port accepts and is then silent, so that a scan is not at its end before the two seconds
    /// of that probe.
    void serveWithSilent(const FakePhone& phone) {
        DeviceProfile mine = profile("iphone");
        mine.remotePairingPort = phone.port();
        serve({mine});
    }

    /// The scan's work is over, and nothing was said of its result, which one that came to its end always is.
    void expectCancelled() {
        ASSERT_TRUE(world.until([&] { return world.background.pending() == 0; }));
        world.settle();
        EXPECT_THAT(coordinator->logs().userLines(), ::testing::IsEmpty());
    }

    static constexpr const char* scanRequest = R"({"command":"scan","profile":"iphone"})";
};

TEST_F(ControlScanTest, finds_the_port_and_says_how_far_it_has_come) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::answers);
    serve({profile("iphone")});
    auto scanning = client();
    ASSERT_TRUE(scanning.send(scanRequest));
    EXPECT_THAT(scanning.receive(), ::testing::MatchesRegex(R"(\{"probed":[0-9]+,"of":16384\})"));
    EXPECT_THAT(result(scanning), StartsWith(R"({"port":)" + std::to_string(phone.port()) +
                                             R"(,"openButSilent":[],"probed":)"));
    EXPECT_EQ(coordinator->logs().userLines().back(), "Port ping succeeded.");
    EXPECT_EQ(stored().at(0).remotePairingPort, 50000) << "a scan changes nothing";
}

TEST_F(ControlScanTest, says_that_nothing_was_found) {
    serve({profile("iphone")});
    auto scanning = client();
    ASSERT_TRUE(scanning.send(scanRequest));
    EXPECT_EQ(result(scanning), R"({"port":null,"openButSilent":[],"probed":16384,"of":16384})");
}

TEST_F(ControlScanTest, lists_ports_that_are_open_but_silent) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::silent);
    serve({profile("iphone")});
    auto scanning = client();
    ASSERT_TRUE(scanning.send(scanRequest));
    EXPECT_EQ(result(scanning), R"({"port":null,"openButSilent":[)" + std::to_string(phone.port()) +
                                    R"(],"probed":16384,"of":16384})");
}

TEST_F(ControlScanTest, ends_with_its_client) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::silent);
    serveWithSilent(phone);
    auto scanning = client();
    ASSERT_TRUE(scanning.send(scanRequest));
    ASSERT_TRUE(world.until([&] { return phone.connections() == 1; }));
    scanning.close();
    expectCancelled();
}

TEST_F(ControlScanTest, ends_with_the_input_of_its_client) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::silent);
    serveWithSilent(phone);
    auto scanning = client();
    ASSERT_TRUE(scanning.send(scanRequest));
    scanning.endInput();
    EXPECT_EQ(result(scanning), "(closed)");
    expectCancelled();
}

TEST_F(ControlScanTest, ends_with_the_server) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::silent);
    serveWithSilent(phone);
    auto scanning = client();
    ASSERT_TRUE(scanning.send(scanRequest));
    ASSERT_TRUE(world.until([&] { return phone.connections() == 1; }));
    server.reset();
    EXPECT_EQ(result(scanning), "(closed)");
    expectCancelled();
}

TEST_F(ControlScanTest, asked_for_before_the_input_ended_ends_too) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::silent);
    serveWithSilent(phone);
    auto scanning = client();
    ASSERT_TRUE(scanning.sendBytes(std::string(R"({"command":"providers"})") + "\n" + scanRequest + "\n"));
    scanning.endInput();
    EXPECT_THAT(scanning.receive(), StartsWith(R"({"providers":)"));
    EXPECT_EQ(result(scanning), "(closed)");
    expectCancelled();
}

TEST_F(ControlScanTest, one_that_was_replaced_and_has_not_heard_of_it_does_not_end_its_successor) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::silent);
    serveWithSilent(phone);
    ControlCommands commands(world.host, *coordinator);
    std::string received;
    const auto first = std::make_shared<ControlAnswer>([](const std::string&, ControlAnswer::Part) {});
    const auto second =
        std::make_shared<ControlAnswer>([&](const std::string& document, ControlAnswer::Part part) {
            if (part == ControlAnswer::Part::last) received = document;
        });
    commands.run(control::Scan{"iphone"}, first);
    commands.run(control::Scan{"iphone"}, second);
    first->abandon();
    ASSERT_TRUE(world.until([&] { return !received.empty(); }));
    EXPECT_THAT(received, StartsWith(R"({"port":null,)"));
}

TEST_F(ControlScanTest, a_second_one_of_the_same_phone_takes_its_place) {
    const FakePhone phone(world.phoneIP, FakePhone::Manner::silent);
    serveWithSilent(phone);
    auto first = client();
    ASSERT_TRUE(first.send(scanRequest));
    ASSERT_TRUE(world.until([&] { return phone.connections() == 1; }));
    auto second = client();
    ASSERT_TRUE(second.send(scanRequest));
    EXPECT_EQ(result(first), R"({"error":"The scan was ended before it was done."})");
    // Its going away now must not end the second one.
    first.close();
    EXPECT_EQ(result(second), R"({"port":null,"openButSilent":[)" + std::to_string(phone.port()) +
                                  R"(],"probed":16384,"of":16384})");
}

}  // namespace
}  // namespace quillbay

#include "update/UpdateService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "update/FetchSupport.h"
#include "update/UpdateServer.h"

namespace quillbay {
namespace {

using fakes::httpAnswer;
using fakes::UpdateServer;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;
using Manner = UpdateServer::Manner;

constexpr const char* primaryAnswer = R"({"version": "1.1", "download_url": "https://quillbay.example/1"})";
constexpr const char* fallbackAnswer = R"({"version": "2.2", "download_url": "https://quillbay.example/2"})";

/// Both hosts on one server, the fallback in order.
class UpdateServiceTest : public testing::Test {
 protected:
    UpdateServiceTest() { server.set("fallback.test", httpAnswer(fallbackAnswer)); }

    /// The version that is found, "none" for no answer.
    std::string version() {
        const auto response = service.latest(StopToken());
        return response ? response->version : "none";
    }
    /// Which hosts have been asked, in order.
    std::string asked() {
        std::string hosts;
        for (const std::string& head : server.requests())
            hosts += head.find("Host: updates.test\r\n") != std::string::npos ? "[primary]" : "[fallback]";
        return hosts;
    }
    void connectPrimaryTo(const std::string& host) {
        service.options.connectTo = {"updates.test:443:" + host, server.connectTo("fallback.test")};
    }

    UpdateServer server;
    UpdateService service{"https://updates.test/api/latest", "https://fallback.test/api/latest",
                          server.options()};
};

TEST_F(UpdateServiceTest, asks_the_hosts_that_it_was_built_for) {
    const UpdateService built = UpdateService::ofThisBuild();
    EXPECT_THAT(built.primary, StartsWith("https://"));
    EXPECT_THAT(built.primary, testing::EndsWith("/api/latest"));
    EXPECT_THAT(built.fallback, StartsWith("https://"));
    EXPECT_THAT(built.fallback, testing::EndsWith("/api/latest"));
    EXPECT_EQ(built.options.timeout, std::chrono::seconds(60));
    EXPECT_FALSE(built.options.authorities);
    EXPECT_THAT(built.options.connectTo, IsEmpty());
}

TEST_F(UpdateServiceTest, a_primary_that_answers_is_enough) {
    server.set("updates.test", httpAnswer(primaryAnswer));
    EXPECT_EQ(version(), "1.1");
    EXPECT_EQ(asked(), "[primary]");
}

TEST_F(UpdateServiceTest, a_primary_without_a_route_falls_back) {
    connectPrimaryTo(unreachableHost);
    EXPECT_EQ(version(), "2.2");
    EXPECT_EQ(asked(), "[fallback]");
}

TEST_F(UpdateServiceTest, a_primary_that_times_out_falls_back) {
    server.set("updates.test", "", Manner::hangs);
    // Long enough for the fallback's answer on a busy machine.
    service.options.timeout = std::chrono::seconds(4);
    EXPECT_EQ(version(), "2.2");
    EXPECT_EQ(asked(), "[primary][fallback]");
}

TEST_F(UpdateServiceTest, a_primary_that_refuses_falls_back) {
    const ClosedPort closed;
    connectPrimaryTo(closed.host());
    EXPECT_EQ(version(), "2.2");
}

TEST_F(UpdateServiceTest, a_primary_that_cannot_be_resolved_falls_back) {
    service.primary = std::string("https://") + unresolvableHost + "/api/latest";
    EXPECT_EQ(version(), "2.2");
}

TEST_F(UpdateServiceTest, a_primary_that_closes_in_the_middle_falls_back) {
    server.set("updates.test", "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"version\"");
    EXPECT_EQ(version(), "2.2");
    EXPECT_EQ(asked(), "[primary][fallback]");
}

TEST_F(UpdateServiceTest, a_primary_without_a_secure_connection_falls_back) {
    const UpdateServer inTheClear(std::nullopt);
    connectPrimaryTo(inTheClear.host());
    EXPECT_EQ(version(), "2.2");
}

TEST_F(UpdateServiceTest, a_500_answer_with_a_body_that_is_no_json_does_not_fall_back) {
    server.set("updates.test",
               httpAnswer("<html><h1>500 Internal Server Error</h1></html>", "500 Internal Server Error"));
    EXPECT_EQ(version(), "none");
    EXPECT_EQ(asked(), "[primary]");
}

TEST_F(UpdateServiceTest, a_500_answer_with_a_valid_body_is_an_answer) {
    server.set("updates.test", httpAnswer(primaryAnswer, "500 Internal Server Error"));
    EXPECT_EQ(version(), "1.1");
}

TEST_F(UpdateServiceTest, garbage_does_not_fall_back) {
    server.set("updates.test", httpAnswer(std::string("\x00\xff\x01{]", 5)));
    EXPECT_EQ(version(), "none");
    EXPECT_EQ(asked(), "[primary]");
}

TEST_F(UpdateServiceTest, a_body_that_is_too_large_does_not_fall_back) {
    server.set("updates.test", httpAnswer(primaryAnswer + std::string(2'097'152, ' ')));
    EXPECT_EQ(version(), "none");
    EXPECT_EQ(asked(), "[primary]");
}

TEST_F(UpdateServiceTest, a_certificate_that_is_not_trusted_does_not_fall_back) {
    const UpdateServer expired(fakes::TestCertificates::made().expired());
    connectPrimaryTo(expired.host());
    EXPECT_EQ(version(), "none");
    EXPECT_EQ(asked(), "");
}

TEST_F(UpdateServiceTest, redirects_without_end_do_not_fall_back) {
    server.set("updates.test", fakes::httpRedirect("https://updates.test/api/latest"));
    EXPECT_EQ(version(), "none");
    EXPECT_THAT(server.requests(), SizeIs(6));
}

TEST_F(UpdateServiceTest, a_fallback_that_fails_ends_it) {
    const ClosedPort closed;
    connectPrimaryTo(closed.host());
    server.set("fallback.test", httpAnswer("oh dear"));
    EXPECT_EQ(version(), "none");
    EXPECT_EQ(asked(), "[fallback]");
}

TEST_F(UpdateServiceTest, a_fallback_that_is_the_primary_is_not_asked_again) {
    server.set("updates.test", "", Manner::aborts);
    service.fallback = service.primary;
    EXPECT_EQ(version(), "none");
    EXPECT_EQ(asked(), "[primary]");
}

TEST_F(UpdateServiceTest, a_stop_asks_no_fallback) {
    const StopSource source;
    source.requestStop();
    const ClosedPort closed;
    connectPrimaryTo(closed.host());
    EXPECT_EQ(service.latest(source.token()), std::nullopt);
    EXPECT_EQ(asked(), "");
}

}  // namespace
}  // namespace quillbay

// Whom a fetch believes to be the host that it asked for.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "update/FetchSupport.h"
#include "update/HTTPSFetch.h"
#include "update/UpdateServer.h"

namespace quillbay {
namespace {

using fakes::httpAnswer;
using fakes::TestCertificates;
using fakes::UpdateServer;
using ::testing::IsEmpty;
using Code = FetchError::Code;

constexpr const char* address = "https://updates.test/api/latest";

TEST(HTTPSTrust, a_certificate_of_a_stranger_is_not_trusted) {
    const UpdateServer server;
    server.set("updates.test", httpAnswer("{}"));
    HTTPSOptions options = server.options();
    options.authorities = TestCertificates::made().stranger();
    EXPECT_EQ(fetchFailure(address, options), Code::serverCertificateUntrusted);
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST(HTTPSTrust, the_systems_authorities_do_not_know_the_tests) {
    const UpdateServer server;
    server.set("updates.test", httpAnswer("{}"));
    HTTPSOptions options = server.options();
    options.authorities.reset();
    EXPECT_EQ(fetchFailure(address, options), Code::serverCertificateUntrusted);
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST(HTTPSTrust, a_certificate_of_another_host_is_not_trusted) {
    const UpdateServer server;
    server.set("other.test", httpAnswer("{}"));
    HTTPSOptions options = server.options();
    options.connectTo = {server.connectTo("other.test")};
    EXPECT_EQ(fetchFailure("https://other.test/api/latest", options), Code::serverCertificateUntrusted);
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST(HTTPSTrust, a_certificate_of_yesterday_is_not_trusted) {
    const UpdateServer server(TestCertificates::made().expired());
    server.set("updates.test", httpAnswer("{}"));
    EXPECT_EQ(fetchFailure(address, server.options()), Code::serverCertificateUntrusted);
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST(HTTPSTrust, a_redirect_to_a_host_with_a_wrong_certificate_is_not_followed) {
    const UpdateServer server;
    const UpdateServer expired(TestCertificates::made().expired());
    server.set("updates.test", fakes::httpRedirect("https://elsewhere.test/"));
    expired.set("elsewhere.test", httpAnswer("{}"));
    HTTPSOptions options = server.options();
    options.connectTo = {server.connectTo("updates.test"), expired.connectTo("elsewhere.test")};
    EXPECT_EQ(fetchFailure(address, options), Code::serverCertificateUntrusted);
    EXPECT_THAT(expired.requests(), IsEmpty());
}

TEST(HTTPSTrust, a_server_that_speaks_in_the_clear_makes_no_secure_connection) {
    const UpdateServer server(std::nullopt);
    server.set("updates.test", httpAnswer("{}"));
    EXPECT_EQ(fetchFailure(address, server.options()), Code::secureConnectionFailed);
}

TEST(HTTPSTrust, an_authority_file_that_is_missing_fails_the_fetch) {
    const UpdateServer server;
    server.set("updates.test", httpAnswer("{}"));
    HTTPSOptions options = server.options();
    options.authorities = "/nonexistent/authority.pem";
    EXPECT_EQ(fetchFailure(address, options), Code::other);
    EXPECT_THAT(server.requests(), IsEmpty());
}

}  // namespace
}  // namespace quillbay

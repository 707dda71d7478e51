#include "phone/TunnelRequest.h"

#include <gtest/gtest.h>

namespace quillbay::lab {

namespace {

TEST(TunnelRequest, reads_its_three_forms) {
    const auto get = parseTunnelRequest("GET 18446744073709551615 5");
    ASSERT_TRUE(get);
    EXPECT_EQ(get->verb, TunnelRequest::Verb::get);
    EXPECT_EQ(get->seed, 18446744073709551615u);
    EXPECT_EQ(get->bytes, 5u);
    const auto put = parseTunnelRequest("PUT 0");
    ASSERT_TRUE(put);
    EXPECT_EQ(put->verb, TunnelRequest::Verb::put);
    EXPECT_EQ(put->bytes, 0u);
    EXPECT_EQ(parseTunnelRequest("ECHO")->verb, TunnelRequest::Verb::echo);
}

TEST(TunnelRequest, takes_nothing_else) {
    for (const char* line : {"", "GET", "GET 1", "GET 1 2 3", "GET  1 2", "PUT", "PUT x",
                             "PUT 18446744073709551616", "PUT -1", "echo", "ECHO "}) {
        EXPECT_FALSE(parseTunnelRequest(line)) << line;
    }
}

}  // namespace

}  // namespace quillbay::lab

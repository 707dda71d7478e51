#include "update/CurlFailure.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "platform/JSONValue.h"

namespace quillbay {
namespace {

struct Row {
    const char* name;
    CURLcode result;
    long systemErrorNumber;
    int code;
    bool unreachable;
};

void PrintTo(const Row& row, std::ostream* stream) {
    *stream << row.name;
}

class CurlFailureTable : public testing::TestWithParam<Row> {};

TEST_P(CurlFailureTable, has_the_class_and_decides_on_the_fallback) {
    const FetchError error(fetchErrorCode(GetParam().result, GetParam().systemErrorNumber), "text");
    EXPECT_EQ(static_cast<int>(error.code()), GetParam().code);
    EXPECT_EQ(isUnreachable(error), GetParam().unreachable);
}

INSTANTIATE_TEST_SUITE_P(
    Transfers, CurlFailureTable,
    testing::Values(Row{"time_out", CURLE_OPERATION_TIMEDOUT, 0, -1001, true},
                    Row{"connection_times_out", CURLE_COULDNT_CONNECT, ETIMEDOUT, -1001, true},
                    Row{"unknown_host", CURLE_COULDNT_RESOLVE_HOST, 0, -1003, true},
                    Row{"connection_refused", CURLE_COULDNT_CONNECT, ECONNREFUSED, -1004, true},
                    Row{"connection_fails_without_a_number", CURLE_COULDNT_CONNECT, 0, -1004, true},
                    Row{"nothing_can_be_sent", CURLE_SEND_ERROR, EPIPE, -1005, true},
                    Row{"nothing_can_be_received", CURLE_RECV_ERROR, ECONNRESET, -1005, true},
                    Row{"no_answer", CURLE_GOT_NOTHING, 0, -1005, true},
                    Row{"half_an_answer", CURLE_PARTIAL_FILE, 0, -1005, true},
                    Row{"unknown_proxy", CURLE_COULDNT_RESOLVE_PROXY, 0, -1006, true},
                    Row{"network_down", CURLE_COULDNT_CONNECT, ENETDOWN, -1009, true},
                    Row{"network_unreachable", CURLE_COULDNT_CONNECT, ENETUNREACH, -1009, true},
                    Row{"host_unreachable", CURLE_COULDNT_CONNECT, EHOSTUNREACH, -1009, true},
                    Row{"host_down", CURLE_COULDNT_CONNECT, EHOSTDOWN, -1009, true},
                    Row{"no_address_of_our_own", CURLE_COULDNT_CONNECT, EADDRNOTAVAIL, -1009, true},
                    Row{"no_secure_connection", CURLE_SSL_CONNECT_ERROR, ECONNRESET, -1200, true},
                    Row{"no_common_cipher", CURLE_SSL_CIPHER, 0, -1200, true},
                    Row{"untrusted_certificate", CURLE_PEER_FAILED_VERIFICATION, 0, -1202, false},
                    Row{"redirects_without_end", CURLE_TOO_MANY_REDIRECTS, 0, -1007, false},
                    Row{"abandoned", CURLE_ABORTED_BY_CALLBACK, 0, -999, false},
                    Row{"redirect_to_http", CURLE_UNSUPPORTED_PROTOCOL, 0, -1, false},
                    Row{"too_large", CURLE_WRITE_ERROR, 0, -1, false},
                    Row{"bad_address", CURLE_URL_MALFORMAT, 0, -1, false},
                    Row{"bad_answer", CURLE_WEIRD_SERVER_REPLY, 0, -1, false},
                    Row{"no_authorities", CURLE_SSL_CACERT_BADFILE, 0, -1, false},
                    Row{"no_memory", CURLE_OUT_OF_MEMORY, 0, -1, false}),
    [](const auto& row) { return row.param.name; });

TEST(Unreachable, exactly_the_listed_codes_are) {
    for (const int code : {-1001, -1003, -1004, -1005, -1006, -1009, -1018, -1020, -1200})
        EXPECT_TRUE(isUnreachable(FetchError(static_cast<FetchError::Code>(code), "text"))) << code;
    for (const int code : {-1, -999, -1007, -1202})
        EXPECT_FALSE(isUnreachable(FetchError(static_cast<FetchError::Code>(code), "text"))) << code;
}

TEST(Unreachable, an_error_of_another_kind_is_not) {
    EXPECT_FALSE(isUnreachable(JSONError("the text is not valid JSON (at byte 1)")));
    EXPECT_FALSE(isUnreachable(std::runtime_error("timed out")));
}

}  // namespace
}  // namespace quillbay

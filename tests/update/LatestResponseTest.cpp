#include "update/LatestResponse.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/JSONValue.h"

namespace quillbay {
namespace {

TEST(LatestResponse, reads_the_three_members) {
    EXPECT_EQ(
        decodeLatestResponse(R"({"version": "1.4.2", "download_url": "https://quillbay.example/download",
                                       "release_notes_url": "https://quillbay.example/notes"})"),
        (LatestResponse{"1.4.2", "https://quillbay.example/download", "https://quillbay.example/notes"}));
}

TEST(LatestResponse, release_notes_may_be_absent_or_null) {
    const LatestResponse without{"1.4.2", "https://a.example", std::nullopt};
    EXPECT_EQ(decodeLatestResponse(R"({"version":"1.4.2","download_url":"https://a.example"})"), without);
    EXPECT_EQ(decodeLatestResponse(
                  R"({"version":"1.4.2","download_url":"https://a.example","release_notes_url":null})"),
              without);
}

TEST(LatestResponse, unknown_members_are_ignored) {
    EXPECT_EQ(decodeLatestResponse(
                  R"({"minimum": {"macos": [13, 0]}, "version": "2", "Version": 3, "download_url": "u"})"),
              (LatestResponse{"2", "u", std::nullopt}));
}

TEST(LatestResponse, texts_are_taken_as_they_are) {
    EXPECT_EQ(decodeLatestResponse(R"({"version":"9\nx","download_url":"","release_notes_url":"\u00fc"})"),
              (LatestResponse{"9\nx", "", "ü"}));
}

TEST(LatestResponse, a_missing_or_null_member_is_no_answer) {
    EXPECT_THROW(decodeLatestResponse(R"({"download_url": "u"})"), JSONError);
    EXPECT_THROW(decodeLatestResponse(R"({"version": "1"})"), JSONError);
    EXPECT_THROW(decodeLatestResponse(R"({"version": null, "download_url": "u"})"), JSONError);
    EXPECT_THROW(decodeLatestResponse("{}"), JSONError);
}

TEST(LatestResponse, a_member_of_another_type_is_no_answer) {
    EXPECT_THROW(decodeLatestResponse(R"({"version": 1.4, "download_url": "u"})"), JSONError);
    EXPECT_THROW(decodeLatestResponse(R"({"version": "1", "download_url": ["u"]})"), JSONError);
    EXPECT_THROW(decodeLatestResponse(R"({"version": "1", "download_url": "u", "release_notes_url": false})"),
                 JSONError);
}

TEST(LatestResponse, what_is_no_object_is_no_answer) {
    for (const char* body :
         {"", "null", "\"1.4.2\"", "[\"1.4.2\", \"u\"]", "<html><body>oh dear</body></html>",
          "{\"version\": \"1\", \"download_url\": \"u\"",
          "{\"version\": \"1\", \"download_url\": \"u\"} and more",
          "{\"version\": \"\xff\", \"download_url\": \"u\"}"}) {
        EXPECT_THROW(decodeLatestResponse(body), JSONError) << body;
    }
}

TEST(LatestResponse, a_body_of_nothing_but_brackets_is_refused_early) {
    EXPECT_THROW(decodeLatestResponse(std::string(1'000'000, '[')), JSONError);
    std::string many = R"({"version": "1", "download_url": "u", "x": [0)";
    for (int count = 0; count < 10'000; ++count)
        many += ",0";
    EXPECT_THROW(decodeLatestResponse(many + "]}"), JSONError);
}

}  // namespace
}  // namespace quillbay

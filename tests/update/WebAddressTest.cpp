#include "update/WebAddress.h"

#include <gtest/gtest.h>

#include <string>

namespace quillbay {
namespace {

using namespace std::string_view_literals;

TEST(WebAddress, pages_of_the_web_are_taken) {
    EXPECT_TRUE(isWebAddress("https://quillbay.example/download"));
    EXPECT_TRUE(isWebAddress("http://quillbay.example:8080/a/b.dmg?version=1.2&system=mac#notes"));
    EXPECT_TRUE(isWebAddress("HTTPS://quillbay.example"));
    EXPECT_TRUE(isWebAddress("https://[2001:db8::1]/"));
    EXPECT_TRUE(isWebAddress("https://quillbay.example/%C3%BC"));
}

TEST(WebAddress, what_is_no_absolute_address_is_refused) {
    EXPECT_FALSE(isWebAddress(""));
    EXPECT_FALSE(isWebAddress("quillbay.example/download"));
    EXPECT_FALSE(isWebAddress("/download"));
    EXPECT_FALSE(isWebAddress("//quillbay.example/download"));
    EXPECT_FALSE(isWebAddress("://quillbay.example"));
    EXPECT_FALSE(isWebAddress("--help"));
}

TEST(WebAddress, an_address_without_a_host_is_refused) {
    EXPECT_FALSE(isWebAddress("https://"));
    EXPECT_FALSE(isWebAddress("https:/quillbay.example"));
    EXPECT_FALSE(isWebAddress("https:///quillbay.example"));
    EXPECT_FALSE(isWebAddress("https:quillbay.example"));
    EXPECT_FALSE(isWebAddress("https://:443/"));
    EXPECT_FALSE(isWebAddress("https://quillbay.example:65536/"));
}

TEST(WebAddress, other_schemes_than_the_webs_are_refused) {
    EXPECT_FALSE(isWebAddress("file:///etc/passwd"));
    EXPECT_FALSE(isWebAddress("javascript://quillbay.example/%0Aalert(1)"));
    EXPECT_FALSE(isWebAddress("ftp://quillbay.example/download"));
    EXPECT_FALSE(isWebAddress("smb://quillbay.example/download"));
    EXPECT_FALSE(isWebAddress("x-apple.systempreferences://quillbay.example"));
}

TEST(WebAddress, blanks_and_control_characters_are_refused) {
    EXPECT_FALSE(isWebAddress(" https://quillbay.example/"));
    EXPECT_FALSE(isWebAddress("https://quillbay.example/a b"));
    EXPECT_FALSE(isWebAddress("https://quillbay.example/\n"));
    EXPECT_FALSE(isWebAddress("https://quillbay.example/\x1b[2J"));
    EXPECT_FALSE(isWebAddress("https://quillbay.example/\x7f"));
    EXPECT_FALSE(isWebAddress("https://quillbay.example/\0\n"sv));
}

TEST(WebAddress, characters_that_an_address_must_percent_encode_are_refused) {
    // A control character of the second range, and one that turns the direction of writing.
    EXPECT_FALSE(isWebAddress("https://quillbay.example/\u009b2J"));
    EXPECT_FALSE(isWebAddress("https://quillbay.example/\u202egmd.exe"));
    EXPECT_FALSE(isWebAddress("https://quillbay.example/ü"));
    EXPECT_FALSE(isWebAddress("https://qüillbay.example/"));
    for (const char* character : {"\"", "<", ">", "\\", "^", "`", "{", "|", "}"})
        EXPECT_FALSE(isWebAddress(std::string("https://quillbay.example/") + character)) << character;
    EXPECT_TRUE(isWebAddress("https://quillbay.example/-._~!$&'()*+,;=:@/?a[]#"));
}

TEST(WebAddress, a_percent_sign_without_two_hexadecimal_digits_is_refused) {
    EXPECT_TRUE(isWebAddress("https://quillbay.example/%0aF%Ff"));
    EXPECT_FALSE(isWebAddress("https://quillbay.example/%"));
    EXPECT_FALSE(isWebAddress("https://quillbay.example/%4"));
    EXPECT_FALSE(isWebAddress("https://quillbay.example/%4g"));
    EXPECT_FALSE(isWebAddress("https://quillbay.example/%%41"));
}

TEST(WebAddress, an_address_longer_than_2048_bytes_is_refused) {
    const std::string beginning = "https://quillbay.example/";
    EXPECT_TRUE(isWebAddress(beginning + std::string(2048 - beginning.size(), 'a')));
    EXPECT_FALSE(isWebAddress(beginning + std::string(2049 - beginning.size(), 'a')));
}

}  // namespace
}  // namespace quillbay

#include "core/UserFacingConnectionError.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace quillbay {
namespace {

std::string messageFor(std::string_view raw) {
    return UserFacingConnectionError::message(raw, "Netbird");
}

std::string repeated(const std::string& text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i)
        result += text;
    return result;
}

constexpr const char* stillLocal =
    "The device is still on this Mac's local network. Move it to a different Wi\xE2\x80\x91"
    "Fi before bridging. Cellular won't work.";
constexpr const char* notExposed =
    "Wireless debugging isn't available over Netbird. On the iPhone, check Settings \xE2\x86\x92 Developer "
    "\xE2\x86\x92 Wireless Debugging.";
constexpr const char* portChanged = "The device's debugging port may have changed. Try Scan port.";
constexpr const char* wrongPort =
    "Reached the device, but not on the wireless debugging port. Try Scan port.";
constexpr const char* busyPort = "A required local port is busy. Try again, or restart Quillbay.";
constexpr const char* somethingWrong = "Something went wrong while connecting.";

TEST(UserFacingConnectionError, has_a_sentence_for_every_rule) {
    EXPECT_EQ(messageFor("phone is still live on the local network."), stillLocal);
    EXPECT_EQ(messageFor("Could not read local IP of en0"), "Couldn't determine this Mac's network address.");
    EXPECT_EQ(messageFor("None of the device's ports responded"),
              "Couldn't reach the device. Confirm Netbird is connected on the iPhone.");
    EXPECT_EQ(messageFor("iOS isn't exposing remotepairingd here"), notExposed);
    EXPECT_EQ(messageFor("No RemotePairing service. The Netbird path is healthy"), notExposed);
    EXPECT_EQ(messageFor("the phone refused the connection"), portChanged);
    EXPECT_EQ(messageFor("its port may have changed"), portChanged);
    EXPECT_EQ(messageFor("is not speaking the RemotePairing protocol"), wrongPort);
    EXPECT_EQ(messageFor("is not speaking RemotePairing"), wrongPort);
    EXPECT_EQ(messageFor("100.64.0.1 is not responding"),
              "The device isn't responding. Confirm Netbird is connected on the iPhone.");
    EXPECT_EQ(messageFor("bind: Address already in use"), busyPort);
    EXPECT_EQ(messageFor("POSIXErrorCode(rawValue: 1): Operation not permitted"), busyPort);
    EXPECT_EQ(messageFor("Control channel of the bridge failed"),
              "The connection to the device was interrupted.");
    EXPECT_EQ(messageFor("No RemotePairing service found"),
              "Couldn't find wireless debugging on the device. Confirm Netbird is connected on the iPhone.");
}

TEST(UserFacingConnectionError, ignores_case) {
    EXPECT_EQ(messageFor("THE PHONE IS STILL LIVE ON THE LOCAL NETWORK"), stillLocal);
    // U+212A, the sign for kelvin, is a capital k.
    EXPECT_EQ(messageFor("STILL LIVE ON THE LOCAL NETWOR\xE2\x84\xAA"), stillLocal);
}

TEST(UserFacingConnectionError, takes_the_earlier_of_two_rules) {
    EXPECT_EQ(messageFor("Address already in use, and the phone refused the connection"), portChanged);
    EXPECT_EQ(messageFor("not responding, still live on the local network"), stillLocal);
    EXPECT_EQ(messageFor("No RemotePairing service found: refused the connection"), portChanged);
    EXPECT_EQ(messageFor("control channel failed: address already in use"), busyPort);
}

TEST(UserFacingConnectionError, calls_a_refused_system_connection_a_busy_port) {
    EXPECT_EQ(messageFor("POSIXErrorCode(rawValue: 61): Connection refused"), busyPort);
    EXPECT_EQ(messageFor("POSIXErrorCode(rawValue: 111): Connection refused"), busyPort);
}

TEST(UserFacingConnectionError, needs_both_phrases_of_a_rule_with_two) {
    EXPECT_EQ(messageFor("none of the device's ports is open"), "none of the device's ports is open");
    EXPECT_EQ(messageFor("none of the device, isn't exposing remotepairingd"), notExposed);
    EXPECT_EQ(messageFor("no remotepairing here"), "no remotepairing here");
    EXPECT_EQ(messageFor("the control channel closed"), "the control channel closed");
    EXPECT_EQ(messageFor("control channel gone, no remotepairing service found"),
              "Couldn't find wireless debugging on the device. Confirm Netbird is connected on the iPhone.");
}

TEST(UserFacingConnectionError, inserts_the_provider_as_it_stands) {
    using UserFacingConnectionError::message;
    EXPECT_EQ(message("not responding", "Manual IP"),
              "The device isn't responding. Confirm Manual IP is connected on the iPhone.");
    EXPECT_EQ(message("not responding", ""),
              "The device isn't responding. Confirm  is connected on the iPhone.");
    EXPECT_EQ(message("not responding", "%P \\1"),
              "The device isn't responding. Confirm %P \\1 is connected on the iPhone.");
}

TEST(UserFacingConnectionError, drops_the_first_bracketed_tag_of_an_unknown_text) {
    EXPECT_EQ(messageFor("[TCPRelay] something odd"), "something odd");
    EXPECT_EQ(messageFor("something odd [TCPRelay]"), "something odd");
    EXPECT_EQ(messageFor("something [TCPRelay] odd [UDPRelay]"), "something odd [UDPRelay]");
    EXPECT_EQ(messageFor("a \t\n [x] b"), "a b");
    EXPECT_EQ(messageFor("a[]b"), "ab");
    EXPECT_EQ(messageFor("a [x[y] z] b"), "a z] b");
    EXPECT_EQ(messageFor("a [two\nlines] b"), "a b");
    EXPECT_EQ(messageFor("open [ended"), "open [ended");
    EXPECT_EQ(messageFor("a ] b [tag] c"), "a ] b c");
}

TEST(UserFacingConnectionError, takes_every_unicode_blank_before_the_tag_with_it) {
    for (const char* blank : {"\u0009", "\u000B", "\u000C", "\u0085", "\u00A0", "\u1680", "\u2000", "\u200A",
                              "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"}) {
        EXPECT_EQ(messageFor("a" + std::string(blank) + "[x]b"), "ab") << blank;
    }
    EXPECT_EQ(messageFor("a\u200B[x]b"), "a\u200Bb");
}

TEST(UserFacingConnectionError, keeps_the_case_and_trims_both_ends_of_an_unknown_text) {
    EXPECT_EQ(messageFor(" \n\u00A0\u3000Odd Thing \u2028\r\n"), "Odd Thing");
}

TEST(UserFacingConnectionError, keeps_160_characters_and_cuts_161_to_157_and_an_ellipsis) {
    const std::string kept(160, 'x');
    EXPECT_EQ(messageFor(kept), kept);
    EXPECT_EQ(messageFor(std::string(161, 'x')), std::string(157, 'x') + "\xE2\x80\xA6");
    EXPECT_EQ(messageFor(std::string(100'000, 'x')), std::string(157, 'x') + "\xE2\x80\xA6");
}

TEST(UserFacingConnectionError, counts_characters_as_people_do) {
    const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";
    const std::string accented = "e\u0301";
    EXPECT_EQ(messageFor(repeated(family, 160)), repeated(family, 160));
    EXPECT_EQ(messageFor(repeated(accented, 161)), repeated(accented, 157) + "\xE2\x80\xA6");
}

TEST(UserFacingConnectionError, measures_after_cleaning) {
    EXPECT_EQ(messageFor("  [tag] " + std::string(160, 'x') + "  "), std::string(160, 'x'));
}

TEST(UserFacingConnectionError, always_has_a_sentence) {
    for (const char* empty : {"", " ", " \t\r\n \u2003", "[tag]", "  [tag]  "}) {
        EXPECT_EQ(messageFor(empty), somethingWrong) << empty;
    }
}

TEST(UserFacingConnectionError, survives_text_that_is_not_utf8) {
    EXPECT_EQ(messageFor("odd \xFF thing [\xC3]"), "odd \uFFFD thing");
    EXPECT_EQ(messageFor("\xFF refused the connection"), portChanged);
    EXPECT_EQ(messageFor(std::string_view("a\0b", 3)), std::string("a\0b", 3));
}

TEST(UserFacingConnectionError, takes_linear_time_for_a_long_hostile_text) {
    const auto begin = std::chrono::steady_clock::now();
    const std::string blanks(4'000'000, ' ');
    EXPECT_EQ(messageFor(blanks + "x"), "x");
    EXPECT_EQ(messageFor(std::string(4'000'000, '[')), std::string(157, '[') + "\xE2\x80\xA6");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

}  // namespace
}  // namespace quillbay

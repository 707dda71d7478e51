#include "core/DiagnosticsTexts.h"

#include <gtest/gtest.h>

#include "core/InTimeZone.h"

namespace quillbay {
namespace {

DiagnosticsFacts emptyFacts() {
    DiagnosticsFacts facts;
    facts.exported = std::chrono::system_clock::time_point(std::chrono::seconds(1'769'868'309));
    facts.version = "1.4.2";
    facts.operatingSystemVersion = "Version 13.6.1 (Build 22G313)";
    facts.computerName = "Mirel’s Mac";
    facts.interfaceName = "en0";
    return facts;
}

DiagnosticsFacts fullFacts() {
    DiagnosticsFacts facts = emptyFacts();
    facts.localIP = "192.168.1.7";
    facts.installedProviders = {"Tailscale", "NetBird"};
    facts.profiles = {
        {"iPhone", "Tailscale", "100.64.0.9", 49152, true, BridgeStatus::on()},
        {"Lab “B”", "Manual IP", "10.0.0.1", 0, false, BridgeStatus::error("It is off.")},
        {"C", "NetBird", "", 65535, true, BridgeStatus::pairing()},
        {"D", "ZeroTier", "1.2.3.4", 1, false, BridgeStatus::off()},
    };
    return facts;
}

TEST(DiagnosticsTextsTest, the_header_of_a_computer_where_nothing_is_set_up) {
    const fakes::InTimeZone utc("UTC");
    EXPECT_EQ(diagnosticsHeader(emptyFacts()),
              "Quillbay diagnostics\n"
              "Exported: 2026-01-31 14:05:09\n"
              "App version: 1.4.2\n"
              "macOS: Version 13.6.1 (Build 22G313)\n"
              "Computer name: Mirel’s Mac\n"
              "Local IP (en0): none\n"
              "Installed providers: none\n"
              "Profiles (0)\n"
              "--- log ---");
}

TEST(DiagnosticsTextsTest, the_header_lists_providers_and_profiles_with_their_statuses) {
    const fakes::InTimeZone utc("UTC");
    EXPECT_EQ(diagnosticsHeader(fullFacts()),
              "Quillbay diagnostics\n"
              "Exported: 2026-01-31 14:05:09\n"
              "App version: 1.4.2\n"
              "macOS: Version 13.6.1 (Build 22G313)\n"
              "Computer name: Mirel’s Mac\n"
              "Local IP (en0): 192.168.1.7\n"
              "Installed providers: Tailscale, NetBird\n"
              "Profiles (4)\n"
              "  - \"iPhone\" provider=Tailscale ip=100.64.0.9 port=49152 bridgeEnabled=true status=on\n"
              "  - \"Lab “B”\" provider=Manual IP ip=10.0.0.1 port=0 bridgeEnabled=false status=error(It is "
              "off.)\n"
              "  - \"C\" provider=NetBird ip= port=65535 bridgeEnabled=true status=pairing\n"
              "  - \"D\" provider=ZeroTier ip=1.2.3.4 port=1 bridgeEnabled=false status=off\n"
              "--- log ---");
}

TEST(DiagnosticsTextsTest, the_address_carries_the_name_of_the_real_interface) {
    DiagnosticsFacts facts = emptyFacts();
    facts.interfaceName = "eth0";
    facts.localIP = "10.1.2.3";
    EXPECT_NE(diagnosticsHeader(facts).find("\nLocal IP (eth0): 10.1.2.3\n"), std::string::npos);
    EXPECT_NE(supportEmailBody(facts).find("\nLocal IP (eth0): 10.1.2.3\n"), std::string::npos);
}

TEST(DiagnosticsTextsTest, the_mail_of_a_computer_where_nothing_is_set_up) {
    EXPECT_EQ(supportEmailBody(emptyFacts()),
              "Hi Quillbay Support,\n\nPlease find my diagnostic logs attached as a zip.\n\n——— System ———\n"
              "App version: 1.4.2\nComputer name: Mirel’s Mac\nLocal IP (en0): none\n"
              "Installed providers: none\n\n——— Devices ———\n\n\n——— Issue ———\n(Please describe what went "
              "wrong and what you expected to happen.)\n\n\n\nThanks");
}

TEST(DiagnosticsTextsTest, the_mail_has_one_line_per_profile) {
    EXPECT_EQ(supportEmailBody(fullFacts()),
              "Hi Quillbay Support,\n\nPlease find my diagnostic logs attached as a zip.\n\n——— System ———\n"
              "App version: 1.4.2\nComputer name: Mirel’s Mac\nLocal IP (en0): 192.168.1.7\n"
              "Installed providers: Tailscale, NetBird\n\n——— Devices ———\n"
              "\"iPhone\": Tailscale, on\n\"Lab “B”\": Manual IP, error(It is off.)\n"
              "\"C\": NetBird, pairing\n\"D\": ZeroTier, off"
              "\n\n——— Issue ———\n(Please describe what went wrong and what you expected to happen.)\n\n\n\n"
              "Thanks");
}

TEST(DiagnosticsTextsTest, times_are_local_and_have_no_milliseconds) {
    const fakes::InTimeZone zone("XYZ-3:30");  // three and a half hours east, in the form of POSIX
    const std::chrono::system_clock::time_point date(std::chrono::milliseconds(1'769'868'309'999));
    EXPECT_EQ(timestampForHeader(date), "2026-01-31 17:35:09");
}

}  // namespace
}  // namespace quillbay

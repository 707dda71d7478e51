#include "ctl/CommandLine.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "fakes/TemporaryFolder.h"
#include "platform/ForkedChild.h"

namespace quillbay::ctl {
namespace {

using Words = std::vector<std::string>;

std::string requestOf(const Words& words) {
    const CommandLine read = parseCommandLine(words);
    const auto* ask = std::get_if<Ask>(&read);
    return ask != nullptr ? ask->request : "(no request)";
}

std::string faultOf(const Words& words) {
    const CommandLine read = parseCommandLine(words);
    const auto* error = std::get_if<UsageError>(&read);
    return error != nullptr ? error->reason : "(no fault)";
}

TEST(CtlCommandLine, makes_a_request_of_every_command) {
    EXPECT_EQ(requestOf({"status"}), R"({"command":"status"})");
    EXPECT_EQ(requestOf({"phones"}), R"({"command":"phones"})");
    EXPECT_EQ(requestOf({"providers"}), R"({"command":"providers"})");
    EXPECT_EQ(requestOf({"peers", "netbird"}), R"({"command":"peers","provider":"netbird"})");
    EXPECT_EQ(requestOf({"start", "my phone"}), R"({"command":"start","profile":"my phone"})");
    EXPECT_EQ(requestOf({"stop", "a"}), R"({"command":"stop","profile":"a"})");
    EXPECT_EQ(requestOf({"scan", "a"}), R"({"command":"scan","profile":"a"})");
    EXPECT_EQ(requestOf({"remove", "a"}), R"({"command":"remove","profile":"a"})");
    EXPECT_EQ(requestOf({"rename", "a", "b"}), R"({"command":"rename","profile":"a","name":"b"})");
    EXPECT_EQ(requestOf({"log"}), R"({"command":"log","follow":false})");
    EXPECT_EQ(requestOf({"log", "--follow"}), R"({"command":"log","follow":true})");
    EXPECT_EQ(requestOf({"settings"}), R"({"command":"settings"})");
    EXPECT_EQ(requestOf({"settings", "only-this-computer", "on"}),
              R"({"command":"settings","onlyThisComputer":true})");
    EXPECT_EQ(requestOf({"settings", "only-this-computer", "off"}),
              R"({"command":"settings","onlyThisComputer":false})");
    EXPECT_EQ(requestOf({"report", "--to", "/tmp/a.zip"}), R"({"command":"report","to":"/tmp/a.zip"})");
}

TEST(CtlCommandLine, makes_a_request_of_both_ways_to_pair) {
    EXPECT_EQ(requestOf({"pair", "h", "--peer", "tailscale:a:b", "--name", "n"}),
              R"({"command":"pair","host":"h","name":"n","provider":"tailscale","peer":"a:b"})");
    EXPECT_EQ(requestOf({"pair", "h", "--address", "1.2.3.4", "--name", "n"}),
              R"({"command":"pair","host":"h","name":"n","address":"1.2.3.4"})");
    EXPECT_EQ(requestOf({"pair", "--provider=zerotier", "--name=n", "--address=1.2.3.4", "h"}),
              R"({"command":"pair","host":"h","name":"n","address":"1.2.3.4","provider":"zerotier"})");
}

TEST(CtlCommandLine, json_may_stand_anywhere) {
    for (const Words& words :
         {Words{"--json", "stop", "a"}, Words{"stop", "--json", "a"}, Words{"stop", "a", "--json"}})
        EXPECT_EQ(parseCommandLine(words),
                  CommandLine(Ask{"stop", R"({"command":"stop","profile":"a"})", true}));
    EXPECT_EQ(parseCommandLine({"status"}), CommandLine(Ask{"status", R"({"command":"status"})", false}));
}

TEST(CtlCommandLine, two_dashes_end_the_options) {
    EXPECT_EQ(requestOf({"rename", "a", "--", "--json"}),
              R"({"command":"rename","profile":"a","name":"--json"})");
    EXPECT_EQ(requestOf({"stop", "-"}), R"({"command":"stop","profile":"-"})");
}

TEST(CtlCommandLine, a_report_goes_to_the_folder_where_the_person_is) {
    const std::filesystem::path here = std::filesystem::current_path();
    EXPECT_EQ(requestOf({"report", "--to", "a.zip"}),
              R"({"command":"report","to":")" + (here / "a.zip").string() + "\"}");
    EXPECT_EQ(requestOf({"report", "--to", "../a.zip"}),
              R"({"command":"report","to":")" + (here.parent_path() / "a.zip").string() + "\"}");
}

TEST(CtlCommandLine, bytes_that_are_no_text_do_not_stop_it) {
    EXPECT_EQ(requestOf({"stop", "a\xff"}), "{\"command\":\"stop\",\"profile\":\"a�\"}");
}

TEST(CtlCommandLine, a_report_is_not_written_to_another_file_than_was_named) {
    EXPECT_EQ(faultOf({"report", "--to", "a\xff.zip"}), "--to needs a path that is UTF-8");
}

TEST(CtlCommandLine, in_a_folder_that_was_removed_a_report_needs_an_absolute_path) {
    inChild([] {
        const fakes::TemporaryFolder folder;
        const std::filesystem::path gone = folder.path() / "gone";
        std::filesystem::create_directory(gone);
        ASSERT_EQ(::chdir(gone.c_str()), 0);
        std::filesystem::remove(gone);
        EXPECT_EQ(faultOf({"report", "--to", "a.zip"}),
                  "--to needs an absolute path: this folder has no name (No such file or directory)");
        EXPECT_EQ(requestOf({"report", "--to", "/tmp/a.zip"}), R"({"command":"report","to":"/tmp/a.zip"})");
    });
}

TEST(CtlCommandLine, help_and_version_are_given_whatever_else_there_is) {
    EXPECT_EQ(parseCommandLine({"--help"}), CommandLine(PrintHelp{}));
    EXPECT_EQ(parseCommandLine({"-h"}), CommandLine(PrintHelp{}));
    EXPECT_EQ(parseCommandLine({"pair", "--help"}), CommandLine(PrintHelp{}));
    EXPECT_EQ(parseCommandLine({"--version"}), CommandLine(PrintVersion{}));
}

TEST(CtlCommandLine, says_what_is_wrong) {
    EXPECT_EQ(faultOf({}), "");
    EXPECT_EQ(faultOf({"--json"}), "");
    EXPECT_EQ(faultOf({"fly"}), "there is no command \"fly\"");
    EXPECT_EQ(faultOf({"status", "a"}), "\"a\" is one argument too many for status");
    EXPECT_EQ(faultOf({"start"}), "start needs PHONE");
    EXPECT_EQ(faultOf({"start", "a", "b"}), "\"b\" is one argument too many for start");
    EXPECT_EQ(faultOf({"peers"}), "peers needs PROVIDER");
    EXPECT_EQ(faultOf({"rename", "a"}), "rename needs NAME");
    EXPECT_EQ(faultOf({"report"}), "report needs --to");
    EXPECT_EQ(faultOf({"report", "--to"}), "--to needs a value");
    EXPECT_EQ(faultOf({"report", "--to", ""}), "--to needs the name of a file");
    EXPECT_EQ(faultOf({"status", "--quick"}), "there is no option --quick");
    EXPECT_EQ(faultOf({"status", "-q"}), "there is no option -q");
    EXPECT_EQ(faultOf({"status", "--follow"}), "status takes no --follow");
    EXPECT_EQ(faultOf({"log", "--follow=yes"}), "--follow takes no value");
    EXPECT_EQ(faultOf({"log", "--follow", "--follow"}), "--follow is given twice");
}

TEST(CtlCommandLine, says_what_is_wrong_with_a_setting) {
    EXPECT_EQ(faultOf({"settings", "only-this-computer"}), "settings needs on or off");
    EXPECT_EQ(faultOf({"settings", "only-this-computer", "yes"}),
              "only-this-computer is on or off, not \"yes\"");
    EXPECT_EQ(faultOf({"settings", "everybody", "on"}), "there is no setting \"everybody\"");
    EXPECT_EQ(faultOf({"settings", "everybody"}), "settings needs on or off");
    EXPECT_EQ(faultOf({"settings", "only-this-computer", "on", "off"}),
              "\"off\" is one argument too many for settings");
    EXPECT_EQ(faultOf({"settings", "--follow"}), "settings takes no --follow");
}

TEST(CtlCommandLine, says_what_is_wrong_with_a_pairing) {
    EXPECT_EQ(faultOf({"pair"}), "pair needs HOST");
    EXPECT_EQ(faultOf({"pair", "h", "--name", "n"}), "pair needs --peer or --address");
    EXPECT_EQ(faultOf({"pair", "h", "--address", "a"}), "pair needs --name");
    EXPECT_EQ(faultOf({"pair", "h", "--peer", "a:b", "--address", "a", "--name", "n"}),
              "pair takes --peer or --address, not both");
    EXPECT_EQ(faultOf({"pair", "h", "--peer", "a:b", "--provider", "a", "--name", "n"}),
              "--provider goes with --address; --peer names the provider itself");
    for (const char* peer : {"phone", ":phone", "tailscale:", ""})
        EXPECT_EQ(faultOf({"pair", "h", "--peer", peer, "--name", "n"}),
                  std::string("--peer needs PROVIDER:NAME, not \"") + peer + "\"");
}

}  // namespace
}  // namespace quillbay::ctl

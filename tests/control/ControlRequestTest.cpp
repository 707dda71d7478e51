#include "control/ControlRequest.h"

#include <gtest/gtest.h>

#include <string>

namespace quillbay {
namespace {

std::string refusalOf(std::string_view line) {
    try {
        static_cast<void>(parseControlRequest(line));
    } catch (const RefusedRequest& refusal) {
        return refusal.what();
    }
    return "(not refused)";
}

TEST(ControlRequest, reads_every_command_with_its_arguments) {
    using namespace control;
    EXPECT_EQ(parseControlRequest(R"({"command":"status"})"), ControlRequest(Status{}));
    EXPECT_EQ(parseControlRequest(R"({"command":"phones"})"), ControlRequest(Phones{}));
    EXPECT_EQ(parseControlRequest(R"({"command":"providers"})"), ControlRequest(Providers{}));
    EXPECT_EQ(parseControlRequest(R"({"command":"peers","provider":"netbird"})"),
              ControlRequest(Peers{"netbird"}));
    EXPECT_EQ(parseControlRequest(R"({"command":"start","profile":"a"})"), ControlRequest(Start{"a"}));
    EXPECT_EQ(parseControlRequest(R"({"command":"stop","profile":"a"})"), ControlRequest(Stop{"a"}));
    EXPECT_EQ(parseControlRequest(R"({"command":"scan","profile":"a"})"), ControlRequest(Scan{"a"}));
    EXPECT_EQ(parseControlRequest(R"({"command":"remove","profile":"a"})"), ControlRequest(Remove{"a"}));
    EXPECT_EQ(parseControlRequest(R"({"command":"rename","profile":"a","name":"b"})"),
              ControlRequest(Rename{"a", "b"}));
    EXPECT_EQ(parseControlRequest(R"({"command":"log"})"), ControlRequest(Log{false}));
    EXPECT_EQ(parseControlRequest(R"({"command":"log","follow":true})"), ControlRequest(Log{true}));
    EXPECT_EQ(parseControlRequest(R"({"command":"settings"})"), ControlRequest(control::Settings{}));
    EXPECT_EQ(parseControlRequest(R"({"command":"settings","onlyThisComputer":false})"),
              ControlRequest(control::Settings{false}));
    EXPECT_EQ(parseControlRequest(R"({"command":"report","to":"/tmp/a.zip"})"),
              ControlRequest(Report{"/tmp/a.zip"}));
    EXPECT_EQ(parseControlRequest(R"({"command":"activate"})"), ControlRequest(Activate{std::nullopt}));
    EXPECT_EQ(parseControlRequest(R"({"command":"activate","token":"t"})"), ControlRequest(Activate{"t"}));
}

TEST(ControlRequest, reads_both_ways_to_pair) {
    using control::Pair;
    EXPECT_EQ(
        parseControlRequest(R"({"command":"pair","host":"h","name":"n","provider":"tailscale","peer":"p"})"),
        ControlRequest(Pair{"h", "n", "tailscale", "p", std::nullopt}));
    EXPECT_EQ(parseControlRequest(R"({"command":"pair","host":"h","name":"n","address":"1.2.3.4"})"),
              ControlRequest(Pair{"h", "n", std::nullopt, std::nullopt, "1.2.3.4"}));
    EXPECT_EQ(parseControlRequest(
                  R"({"command":"pair","host":"h","name":"n","address":"1.2.3.4","provider":"zerotier"})"),
              ControlRequest(Pair{"h", "n", "zerotier", std::nullopt, "1.2.3.4"}));
}

TEST(ControlRequest, takes_a_null_argument_for_an_absent_one) {
    EXPECT_EQ(parseControlRequest(R"({"command":"log","follow":null})"), ControlRequest(control::Log{false}));
    EXPECT_EQ(refusalOf(R"({"command":"start","profile":null})"), "\"start\" needs a \"profile\".");
}

TEST(ControlRequest, refuses_what_is_no_json_object) {
    const std::string sentence = "The request is not a JSON object with a \"command\" and its arguments.";
    for (const char* line :
         {"", " ", "status", "\"status\"", "[]", "[\"status\"]", "1", "null", "{", "}",
          R"({"command":"status"}})", R"({"command":"status"} {})", R"({command:"status"})",
          "{\"command\":\"\xff\"}", R"({"command":"status","a":[[[[[]]]]]})"})
        EXPECT_EQ(refusalOf(line), sentence) << line;
    EXPECT_EQ(refusalOf(std::string(20000, '[')), sentence);
    EXPECT_EQ(refusalOf(std::string_view("{\"command\":\"status\"}\0", 21)), sentence)
        << "a zero byte at the end";
}

TEST(ControlRequest, refuses_a_missing_mistyped_or_unknown_command) {
    EXPECT_EQ(refusalOf("{}"), "The request has no \"command\".");
    EXPECT_EQ(refusalOf(R"({"command":null})"), "The request has no \"command\".");
    EXPECT_EQ(refusalOf(R"({"command":7})"), "The \"command\" must be text.");
    EXPECT_EQ(refusalOf(R"({"command":"quit"})"), "There is no command \"quit\".");
    EXPECT_EQ(refusalOf(R"({"command":"Status"})"), "There is no command \"Status\".");
}

TEST(ControlRequest, does_not_repeat_a_long_command) {
    EXPECT_EQ(refusalOf(R"({"command":")" + std::string(5000, 'x') + "\"}"),
              "There is no command \"" + std::string(64, 'x') + "…\".");
}

TEST(ControlRequest, refuses_missing_arguments) {
    EXPECT_EQ(refusalOf(R"({"command":"peers"})"), "\"peers\" needs a \"provider\".");
    EXPECT_EQ(refusalOf(R"({"command":"start"})"), "\"start\" needs a \"profile\".");
    EXPECT_EQ(refusalOf(R"({"command":"rename","profile":"a"})"), "\"rename\" needs a \"name\".");
    EXPECT_EQ(refusalOf(R"({"command":"report"})"), "\"report\" needs a \"to\".");
    EXPECT_EQ(refusalOf(R"({"command":"pair","name":"n","address":"a"})"), "\"pair\" needs a \"host\".");
    EXPECT_EQ(refusalOf(R"({"command":"pair","host":"h","address":"a"})"), "\"pair\" needs a \"name\".");
    EXPECT_EQ(refusalOf(R"({"command":"pair","host":"h","name":"n"})"),
              "\"pair\" needs either a \"peer\" or an \"address\".");
    EXPECT_EQ(refusalOf(R"({"command":"pair","host":"h","name":"n","peer":"p","address":"a"})"),
              "\"pair\" needs either a \"peer\" or an \"address\".");
    EXPECT_EQ(refusalOf(R"({"command":"pair","host":"h","name":"n","peer":"p"})"),
              "A \"peer\" needs its \"provider\".");
}

TEST(ControlRequest, refuses_arguments_of_another_type) {
    EXPECT_EQ(refusalOf(R"({"command":"peers","provider":7})"),
              "The \"provider\" of \"peers\" must be text.");
    EXPECT_EQ(refusalOf(R"({"command":"start","profile":["a"]})"),
              "The \"profile\" of \"start\" must be text.");
    EXPECT_EQ(refusalOf(R"({"command":"log","follow":"yes"})"),
              "The \"follow\" of \"log\" must be true or false.");
    EXPECT_EQ(refusalOf(R"({"command":"settings","onlyThisComputer":1})"),
              "The \"onlyThisComputer\" of \"settings\" must be true or false.");
    EXPECT_EQ(refusalOf(R"({"command":"settings","everybody":true})"),
              "\"settings\" takes no \"everybody\".");
}

TEST(ControlRequest, refuses_arguments_that_the_command_does_not_have) {
    EXPECT_EQ(refusalOf(R"({"command":"status","profile":"a"})"), "\"status\" takes no \"profile\".");
    EXPECT_EQ(refusalOf(R"({"command":"start","profile":"a","force":true})"),
              "\"start\" takes no \"force\".");
    EXPECT_EQ(refusalOf(R"({"command":"peers","providers":"a"})"), "\"peers\" takes no \"providers\".");
}

TEST(ControlRequest, refuses_a_report_to_a_path_that_depends_on_a_working_directory) {
    const std::string sentence = "The \"to\" of \"report\" must be an absolute path.";
    EXPECT_EQ(refusalOf(R"({"command":"report","to":"a.zip"})"), sentence);
    EXPECT_EQ(refusalOf(R"({"command":"report","to":""})"), sentence);
    EXPECT_EQ(refusalOf(R"({"command":"report","to":"/tmp/a\u0000.zip"})"), sentence);
}

}  // namespace
}  // namespace quillbay

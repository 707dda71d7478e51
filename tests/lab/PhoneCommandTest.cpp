#include "phone/PhoneCommand.h"

#include <gtest/gtest.h>

namespace quillbay::lab {

namespace {

TEST(PhoneCommand, reads_the_commands_with_a_port) {
    const auto move = parsePhoneCommand("move 50001");
    ASSERT_TRUE(move);
    EXPECT_EQ(move->verb, PhoneCommand::Verb::move);
    EXPECT_EQ(move->port, 50001);
    const auto tunnel = parsePhoneCommand("tunnel 65535");
    ASSERT_TRUE(tunnel);
    EXPECT_EQ(tunnel->verb, PhoneCommand::Verb::tunnel);
    EXPECT_EQ(tunnel->port, 65535);
}

TEST(PhoneCommand, reads_the_modes) {
    for (const auto& [line, mode] :
         {std::pair{"normal", PhoneMode::normal}, std::pair{"silent", PhoneMode::silent},
          std::pair{"refuse", PhoneMode::refuse}, std::pair{"stall", PhoneMode::stall}}) {
        const auto command = parsePhoneCommand(line);
        ASSERT_TRUE(command) << line;
        EXPECT_EQ(command->verb, PhoneCommand::Verb::mode);
        EXPECT_EQ(command->mode, mode);
    }
}

TEST(PhoneCommand, reads_the_commands_without_an_argument) {
    EXPECT_EQ(parsePhoneCommand("announce")->verb, PhoneCommand::Verb::announce);
    EXPECT_EQ(parsePhoneCommand("withdraw")->verb, PhoneCommand::Verb::withdraw);
    EXPECT_EQ(parsePhoneCommand("quit")->verb, PhoneCommand::Verb::quit);
}

TEST(PhoneCommand, takes_nothing_else) {
    for (const char* line : {"", "move", "move ", "move 0", "move 65536", "move -1", "move 5x", "move 5 6",
                             "Quit", "quit ", "tunnel +5"}) {
        EXPECT_FALSE(parsePhoneCommand(line)) << line;
    }
}

}  // namespace

}  // namespace quillbay::lab

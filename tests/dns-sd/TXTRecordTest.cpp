#include "dns-sd/TXTRecord.h"

#include <gtest/gtest.h>

namespace quillbay::dnssd {
namespace {

using namespace std::string_literals;
using Strings = std::vector<std::string>;

TEST(TXTRecord, reads_strings_in_wire_order_with_any_byte) {
    EXPECT_EQ(TXTRecord::decode("\6ver=19\5a=\0\n\xFF"s), (Strings{"ver=19", "a=\0\n\xFF"s}));
}

TEST(TXTRecord, reads_an_empty_record) {
    EXPECT_EQ(TXTRecord::decode(""s), Strings{});
    EXPECT_EQ(TXTRecord::decode("\0"s), Strings{""});
}

TEST(TXTRecord, keeps_empty_strings_between_others) {
    EXPECT_EQ(TXTRecord::decode("\1a\0\1b"s), (Strings{"a", "", "b"}));
}

TEST(TXTRecord, refuses_a_length_past_the_end) {
    EXPECT_EQ(TXTRecord::decode("\6ver=1"s), std::nullopt);
    EXPECT_EQ(TXTRecord::decode("\1a\xFF"s), std::nullopt);
}

TEST(TXTRecord, reads_the_longest_string) {
    EXPECT_EQ(TXTRecord::decode("\xFF" + std::string(255, 'x')), Strings{std::string(255, 'x')});
}

TEST(TXTRecord, writes_strings_with_their_lengths) {
    EXPECT_EQ(TXTRecord::encode({"ver=19", "b="}), "\6ver=19\2b="s);
}

TEST(TXTRecord, writes_nothing_to_say_as_one_empty_string) {
    EXPECT_EQ(TXTRecord::encode({}), "\0"s);
}

TEST(TXTRecord, writes_up_to_its_bounds) {
    EXPECT_TRUE(TXTRecord::encode({std::string(255, 'x')}));
    EXPECT_EQ(TXTRecord::encode({std::string(256, 'x')}), std::nullopt);
    const Strings fitting(80, std::string(99, 'x'));
    ASSERT_TRUE(TXTRecord::encode(fitting));
    EXPECT_EQ(TXTRecord::encode(fitting)->size(), 8000U);
    Strings more = fitting;
    more.emplace_back();
    EXPECT_EQ(TXTRecord::encode(more), std::nullopt);
}

TEST(TXTRecord, reads_back_what_it_wrote) {
    const Strings strings{"a=1", "", std::string(255, '\xFE'), "q=\"\\\n"};
    EXPECT_EQ(TXTRecord::decode(*TXTRecord::encode(strings)), strings);
}

}  // namespace
}  // namespace quillbay::dnssd

#include "dns-sd/SRVRecord.h"

#include <gtest/gtest.h>

namespace quillbay::dnssd {
namespace {

using namespace std::string_literals;

TEST(SRVRecord, reads_numbers_and_target) {
    const SRVRecord expected{1, 258, 49152, {"iPhone", "local"}};
    EXPECT_EQ(SRVRecord::decode("\0\1\1\2\xC0\0\6iPhone\5local\0"s), expected);
}

TEST(SRVRecord, reads_the_root_as_a_target_without_labels) {
    EXPECT_EQ(SRVRecord::decode("\0\0\0\0\0\1\0"s), (SRVRecord{0, 0, 1, {}}));
}

TEST(SRVRecord, keeps_any_byte_of_a_label) {
    const auto record = SRVRecord::decode("\0\0\0\0\0\1\4a.\n\0\0"s);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->target, std::vector<std::string>{"a.\n\0"s});
}

TEST(SRVRecord, refuses_every_beginning_of_a_record) {
    const std::string whole = "\0\0\0\0\xC0\0\6iPhone\5local\0"s;
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_EQ(SRVRecord::decode(whole.substr(0, size)), std::nullopt) << size;
    EXPECT_TRUE(SRVRecord::decode(whole));
}

TEST(SRVRecord, refuses_bytes_after_the_target) {
    EXPECT_EQ(SRVRecord::decode("\0\0\0\0\0\1\1a\0x"s), std::nullopt);
}

TEST(SRVRecord, refuses_a_compressed_target) {
    EXPECT_EQ(SRVRecord::decode("\0\0\0\0\0\1\xC0\x0C"s), std::nullopt);
    EXPECT_EQ(SRVRecord::decode("\0\0\0\0\0\1\1a\xC0\x0C\0"s), std::nullopt);
}

TEST(SRVRecord, refuses_labels_and_names_that_are_too_long) {
    const std::string head = "\0\0\0\0\0\1"s;
    const std::string label = "\x3F" + std::string(63, 'a');
    EXPECT_TRUE(SRVRecord::decode(head + label + "\0"s));
    EXPECT_EQ(SRVRecord::decode(head + "\x40" + std::string(64, 'a') + "\0"s), std::nullopt);
    EXPECT_TRUE(SRVRecord::decode(head + label + label + label + "\x3D" + std::string(61, 'a') + "\0"s));
    EXPECT_EQ(SRVRecord::decode(head + label + label + label + "\x3E" + std::string(62, 'a') + "\0"s),
              std::nullopt);
}

}  // namespace
}  // namespace quillbay::dnssd

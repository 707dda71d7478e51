#include "discovery/NamingConflict.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

TEST(HostBaseName, leaves_out_case_the_final_dot_and_the_local_domain) {
    EXPECT_EQ(hostBaseName("Phone.coredevice.local."), "phone");
    EXPECT_EQ(hostBaseName("phone.local"), "phone");
    EXPECT_EQ(hostBaseName("PHONE.LOCAL."), "phone");
    EXPECT_EQ(hostBaseName("phone"), "phone");
    EXPECT_EQ(hostBaseName("phone."), "phone");
    EXPECT_EQ(hostBaseName("\xC3\x9C.local"), "\xC3\xBC");
}

TEST(HostBaseName, removes_one_dot_and_one_suffix_only) {
    EXPECT_EQ(hostBaseName("phone.local.."), "phone.local.");
    EXPECT_EQ(hostBaseName("phone.local.local"), "phone.local");
    EXPECT_EQ(hostBaseName("phone.local.coredevice.local"), "phone.local");
    EXPECT_EQ(hostBaseName("phone.coredevice.local.local"), "phone.coredevice.local");
    EXPECT_EQ(hostBaseName("phonelocal"), "phonelocal");
    EXPECT_EQ(hostBaseName(""), "");
}

TEST(ConflictSuffix, is_a_hyphen_and_a_number_that_begins_with_2_to_9) {
    EXPECT_EQ(withoutConflictSuffix("phone-2"), "phone");
    EXPECT_EQ(withoutConflictSuffix("phone-9"), "phone");
    EXPECT_EQ(withoutConflictSuffix("phone-20"), "phone");
    EXPECT_EQ(withoutConflictSuffix("my-phone-3"), "my-phone");
    EXPECT_EQ(withoutConflictSuffix("phone-2-3"), "phone-2");
    EXPECT_EQ(withoutConflictSuffix("-2"), "");
}

TEST(ConflictSuffix, is_nothing_else) {
    for (const char* name : {"phone", "phone-1", "phone-0", "phone-10", "phone-", "phone-2a", "phone2",
                             "phone-02", "phone-2.local", "2", ""})
        EXPECT_FALSE(withoutConflictSuffix(name)) << name;
}

}  // namespace
}  // namespace quillbay

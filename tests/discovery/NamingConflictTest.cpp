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

TEST(ConflictSuffix, is_a_hyphen_and_a_number_of_at_least_2) {
    EXPECT_EQ(withoutConflictSuffix("phone-2"), "phone");
    EXPECT_EQ(withoutConflictSuffix("phone-9"), "phone");
    EXPECT_EQ(withoutConflictSuffix("phone-10"), "phone");
    EXPECT_EQ(withoutConflictSuffix("phone-11"), "phone");
    EXPECT_EQ(withoutConflictSuffix("phone-19"), "phone");
    EXPECT_EQ(withoutConflictSuffix("phone-20"), "phone");
    EXPECT_EQ(withoutConflictSuffix("phone-100"), "phone");
    EXPECT_EQ(withoutConflictSuffix("phone-12345678901234567890"), "phone");
    EXPECT_EQ(withoutConflictSuffix("my-phone-3"), "my-phone");
    EXPECT_EQ(withoutConflictSuffix("phone-2-3"), "phone-2");
}

TEST(ConflictSuffix, is_nothing_else) {
    for (const char* name : {"phone", "phone-1", "phone-0", "phone-", "phone-2a", "phone2", "phone-01",
                             "phone-02", "phone-010", "phone-00", "phone-2.local", "2", "-2", ""})
        EXPECT_FALSE(withoutConflictSuffix(name)) << name;
}

TEST(HostConflictSuffix, stands_before_the_local_domain_and_the_final_dot) {
    EXPECT_EQ(stripNamingConflictSuffix("iPhone-2.local"), "iPhone.local");
    EXPECT_EQ(stripNamingConflictSuffix("iPhone-2.local."), "iPhone.local.");
    EXPECT_EQ(stripNamingConflictSuffix("iPhone-2."), "iPhone.");
    EXPECT_EQ(stripNamingConflictSuffix("iPhone-2"), "iPhone");
    EXPECT_EQ(stripNamingConflictSuffix("Bobs-iPhone-2-3.local"), "Bobs-iPhone-2.local");
    for (const char* host : {"iPhone-2.local", "iPhone-2.local.", "iPhone-2", "host-10.local"})
        EXPECT_TRUE(hasNamingConflictSuffix(host)) << host;
}

TEST(HostConflictSuffix, is_nowhere_else) {
    for (const char* host :
         {"iPhone.local", "iPhone-1.local", "iPhone-0.local", "iPhone-2.example", "iPhone-2.local..",
          "iPhone-2.local.local", "2.local", "-2.local", "-2", ".local", ""}) {
        EXPECT_FALSE(hasNamingConflictSuffix(host)) << host;
        EXPECT_EQ(stripNamingConflictSuffix(host), host);
    }
}

}  // namespace
}  // namespace quillbay

#include "platform/DescriptorShares.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <system_error>
#include <vector>

#include "fakes/Leaks.h"
#include "platform/DescriptorLimit.h"

namespace quillbay {
namespace {

/// With a limit of 6,400 descriptors, the last 100 are the program's, and 400 before them are not for flows.
class DescriptorShares : public ::testing::Test {
 protected:
    void SetUp() override {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        limitTo(6400);
    }
    void TearDown() override {
        ::setrlimit(RLIMIT_NOFILE, &before_);
        refreshDescriptorLimit();
    }

    void limitTo(rlim_t limit) {
        const rlimit few{limit, before_.rlim_max};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0) << "the test needs a hard limit of 6,400 descriptors";
        refreshDescriptorLimit();
    }

    /// A descriptor with this number or, if that is taken, one of the next.
    static UniqueDescriptor numbered(int number) {
        return UniqueDescriptor(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, number));
    }

    /// The error; nothing when the descriptor was handed back.
    static std::optional<int> refusal(int number, DescriptorUse use) {
        try {
            EXPECT_TRUE(withinShare(numbered(number), use).valid());
            return std::nullopt;
        } catch (const std::system_error& error) {
            return error.code().value();
        }
    }

    [[nodiscard]] const rlimit& before() const { return before_; }

 private:
    rlimit before_{};
};

TEST_F(DescriptorShares, flows_leave_some_to_relays_and_to_the_program) {
    EXPECT_EQ(refusal(5899, DescriptorUse::flow), std::nullopt);
    EXPECT_EQ(refusal(5900, DescriptorUse::flow), EMFILE);
    EXPECT_EQ(refusal(6399, DescriptorUse::flow), EMFILE);
}

TEST_F(DescriptorShares, relays_leave_some_to_the_program) {
    EXPECT_EQ(refusal(6299, DescriptorUse::relay), std::nullopt);
    EXPECT_EQ(refusal(6300, DescriptorUse::relay), EMFILE);
}

TEST_F(DescriptorShares, a_refused_descriptor_is_closed) {
    const std::size_t before = fakes::openDescriptors();
    EXPECT_EQ(refusal(6300, DescriptorUse::relay), EMFILE);
    EXPECT_EQ(fakes::openDescriptors(), before);
}

TEST_F(DescriptorShares, a_limit_that_is_too_low_for_a_bridge_is_used_up) {
    limitTo(1000);
    EXPECT_EQ(refusal(999, DescriptorUse::flow), std::nullopt);
}

TEST_F(DescriptorShares, a_limit_that_somebody_else_has_raised_is_seen) {
    const rlimit more{before().rlim_max, before().rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &more), 0);
    EXPECT_EQ(refusal(6300, DescriptorUse::relay), std::nullopt);
}

TEST_F(DescriptorShares, connections_have_room_again_once_descriptors_are_free) {
    EXPECT_TRUE(connectionsHaveRoom());
    EXPECT_EQ(refusal(6300, DescriptorUse::relay), EMFILE);
    EXPECT_TRUE(connectionsHaveRoom());
}

TEST_F(DescriptorShares, connections_have_no_room_while_all_but_the_programs_are_taken) {
    std::vector<UniqueDescriptor> taken;
    do {
        taken.push_back(numbered(0));
    } while (taken.back().get() < 6299);
    EXPECT_EQ(refusal(0, DescriptorUse::relay), EMFILE);
    EXPECT_FALSE(connectionsHaveRoom());
    taken.pop_back();
    EXPECT_TRUE(connectionsHaveRoom());
}

}  // namespace
}  // namespace quillbay

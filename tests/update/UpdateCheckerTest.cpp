#include "update/UpdateChecker.h"

#include <gtest/gtest.h>

#include "fakes/Leaks.h"
#include "fakes/WaitUntil.h"
#include "update/UpdateCheckerFixture.h"

namespace quillbay {
namespace {

using fakes::httpAnswer;
using Manner = fakes::UpdateServer::Manner;

class UpdateCheckerTest : public UpdateCheckerFixture {};

TEST_F(UpdateCheckerTest, knows_nothing_before_the_first_check) {
    make("1.9.9");
    EXPECT_EQ(checker->available(), std::nullopt);
    EXPECT_FALSE(checker->hasCheckedSuccessfully());
    EXPECT_EQ(checker->currentVersion(), "1.9.9");
}

TEST_F(UpdateCheckerTest, a_newer_version_is_published_with_its_addresses) {
    answer(R"({"version": "1.10.0", "download_url": "https://quillbay.example/get",
               "release_notes_url": "http://quillbay.example/notes"})");
    make("1.9.9");
    check();
    EXPECT_EQ(checker->available(),
              (Update{"1.10.0", "https://quillbay.example/get", "http://quillbay.example/notes"}));
    EXPECT_TRUE(checker->hasCheckedSuccessfully());
    EXPECT_EQ(changes, 1);
}

TEST_F(UpdateCheckerTest, an_answer_of_version_2_against_an_installed_1_9_9_is_newer) {
    answerVersion("2");
    make("1.9.9");
    check();
    EXPECT_EQ(availableVersion(), "2");
}

TEST_F(UpdateCheckerTest, the_same_version_as_installed_clears_available) {
    answerVersion("2.0");
    make("1.9.9");
    check();
    EXPECT_EQ(availableVersion(), "2.0");
    answerVersion("1.9.9");
    check();
    EXPECT_EQ(availableVersion(), "none");
    EXPECT_TRUE(checker->hasCheckedSuccessfully());
    EXPECT_EQ(changes, 2);
}

TEST_F(UpdateCheckerTest, an_older_version_than_installed_clears_available) {
    answerVersion("2.0");
    make("1.9.9");
    check();
    answerVersion("1.9.8");
    check();
    EXPECT_EQ(availableVersion(), "none");
    EXPECT_TRUE(checker->hasCheckedSuccessfully());
}

TEST_F(UpdateCheckerTest, a_fourth_number_makes_no_newer_version) {
    answerVersion("1.9.9.4");
    make("1.9.9");
    check();
    EXPECT_EQ(availableVersion(), "none");
    EXPECT_TRUE(checker->hasCheckedSuccessfully());
    answerVersion("1.9.10.4");
    check();
    EXPECT_EQ(availableVersion(), "1.9.10.4");
}

TEST_F(UpdateCheckerTest, a_failure_leaves_everything_as_it_was) {
    answerVersion("2.0");
    make("1.9.9");
    check();
    for (const char* body :
         {"", "<html></html>", "{\"version\": 3, \"download_url\": \"https://a.example\"}"}) {
        answer(body);
        check();
        EXPECT_EQ(availableVersion(), "2.0") << body;
    }
    server.set("updates.test", "", Manner::aborts);
    check();
    EXPECT_EQ(availableVersion(), "2.0");
    EXPECT_TRUE(checker->hasCheckedSuccessfully());
    EXPECT_EQ(changes, 1);
}

TEST_F(UpdateCheckerTest, a_first_failure_leaves_it_unsaid_that_a_check_succeeded) {
    answer("oh dear");
    make("1.9.9");
    check();
    EXPECT_FALSE(checker->hasCheckedSuccessfully());
    EXPECT_EQ(changes, 0);
}

TEST_F(UpdateCheckerTest, a_download_address_that_does_not_parse_ends_the_check_without_effect) {
    make("1.9.9");
    for (const char* address : {"", "quillbay.example/get", "file:///tmp/get", "javascript:alert(1)"}) {
        answer(std::string(R"({"version": "2.0", "download_url": ")") + address + "\"}");
        check();
        EXPECT_EQ(availableVersion(), "none") << address;
        EXPECT_FALSE(checker->hasCheckedSuccessfully()) << address;
    }
    EXPECT_EQ(changes, 0);
}

TEST_F(UpdateCheckerTest, release_notes_at_an_address_that_does_not_parse_count_as_absent) {
    answer(
        R"({"version": "2.0", "download_url": "https://quillbay.example/get", "release_notes_url": "notes"})");
    make("1.9.9");
    check();
    EXPECT_EQ(checker->available(), (Update{"2.0", "https://quillbay.example/get", std::nullopt}));
}

TEST_F(UpdateCheckerTest, the_same_answer_again_is_no_change) {
    answerVersion("2.0");
    make("1.9.9");
    check();
    check();
    EXPECT_EQ(requests(), 2U);
    EXPECT_EQ(changes, 1);
}

TEST_F(UpdateCheckerTest, a_check_during_a_check_joins_it) {
    server.set("updates.test", httpAnswer(R"({"version": "2.0", "download_url": "https://a.example"})"),
               Manner::holds);
    make("1.9.9");
    int done = 0;
    checker->check([&] { ++done; });
    checker->check([&] { ++done; });
    checker->check();
    ASSERT_TRUE(world.until([&] { return requests() == 1; }));
    EXPECT_EQ(done, 0);
    server.release();
    EXPECT_TRUE(world.until([&] { return done == 2; }));
    EXPECT_EQ(requests(), 1U);
    EXPECT_EQ(availableVersion(), "2.0");
}

TEST_F(UpdateCheckerTest, the_main_queue_goes_on_while_the_service_hangs) {
    server.set("updates.test", "", Manner::hangs);
    make("1.9.9");
    checker->check();
    ASSERT_TRUE(world.until([&] { return requests() == 1; }));
    world.settle();
    EXPECT_EQ(world.background.pending(), 1U);
}

TEST_F(UpdateCheckerTest, dropping_the_checker_ends_a_request_that_hangs) {
    server.set("updates.test", "", Manner::hangs);
    make("1.9.9");
    checker->check([&] { ADD_FAILURE() << "a check of a dropped checker has ended"; });
    ASSERT_TRUE(world.until([&] { return requests() == 1; }));
    const auto before = std::chrono::steady_clock::now();
    checker.reset();
    // The time-out is a minute.
    EXPECT_TRUE(fakes::waitUntil([&] { return world.background.pending() == 0; }));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
    EXPECT_TRUE(fakes::waitUntil([&] { return server.clientHasLeft(); }));
    world.settle();
    EXPECT_EQ(changes, 0);
}

TEST_F(UpdateCheckerTest, an_answer_that_comes_after_the_drop_is_dropped_too) {
    answerVersion("2.0");
    make("1.9.9");
    checker->check([&] { ADD_FAILURE() << "a check of a dropped checker has ended"; });
    // The answer waits on the main queue then.
    ASSERT_TRUE(fakes::waitUntil([&] { return world.background.pending() == 0; }));
    checker.reset();
    world.settle();
    EXPECT_EQ(changes, 0);
}

TEST_F(UpdateCheckerTest, an_observer_may_drop_the_checker) {
    answerVersion("2.0");
    make("1.9.9");
    const Subscription dropping = checker->changed.add([this] { checker.reset(); });
    checker->start();
    EXPECT_TRUE(world.until([&] { return checker == nullptr; }));
    world.advance(updateCheckInterval);
    EXPECT_EQ(requests(), 1U);
}

TEST_F(UpdateCheckerTest, no_descriptor_is_left_over) {
    answerVersion("2.0");
    make("1.9.9");
    check();
    const std::size_t before = fakes::openDescriptors();
    for (int count = 0; count < 3; ++count)
        check();
    EXPECT_EQ(fakes::openDescriptors(), before);
}

}  // namespace
}  // namespace quillbay

#include "ui/shell/EndingSignals.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <QCoreApplication>

#include "fakes/WaitUntil.h"

namespace quillbay {
namespace {

bool until(const std::function<bool()>& done) {
    return fakes::waitUntil([&done] {
        QCoreApplication::processEvents();
        return done();
    });
}

void (*handlerOf(int signal))(int) {
    struct sigaction action{};
    ::sigaction(signal, nullptr, &action);
    return action.sa_handler;
}

class EndingSignalsTest : public ::testing::TestWithParam<int> {};

TEST_P(EndingSignalsTest, tells_of_a_signal_once_and_not_within_it) {
    int told = 0;
    const EndingSignals signals([&told] { ++told; });
    ASSERT_EQ(::kill(::getpid(), GetParam()), 0);
    EXPECT_EQ(told, 0);
    EXPECT_TRUE(until([&told] { return told == 1; }));
    ASSERT_EQ(::kill(::getpid(), GetParam()), 0);
    for (int i = 0; i < 20; ++i)
        QCoreApplication::processEvents();
    EXPECT_EQ(told, 1);
}

INSTANTIATE_TEST_SUITE_P(Signals, EndingSignalsTest, ::testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST(EndingSignals, leaves_a_hang_up_ignored_that_the_program_was_started_to_outlive) {
    const auto before = ::signal(SIGHUP, SIG_IGN);
    {
        int told = 0;
        const EndingSignals signals([&told] { ++told; });
        EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN);
        ASSERT_EQ(::kill(::getpid(), SIGHUP), 0);
        for (int i = 0; i < 20; ++i)
            QCoreApplication::processEvents();
        EXPECT_EQ(told, 0);
    }
    EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN);
    ::signal(SIGHUP, before);
}

TEST(EndingSignals, leaves_the_signals_to_themselves_when_it_goes) {
    {
        const EndingSignals signals([] {});
    }
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        EXPECT_EQ(handlerOf(signal), SIG_DFL);
}

}  // namespace
}  // namespace quillbay

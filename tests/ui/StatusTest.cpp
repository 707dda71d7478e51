#include "ui/models/Status.h"

#include "ui/ModelFixture.h"

namespace quillbay {
namespace {

void expectPresentation(const BridgeStatus& bridge, status::Kind kind, const QString& text,
                        const QString& symbol) {
    const StatusPresentation shown = presentationOf(bridge);
    EXPECT_EQ(shown.kind, kind);
    EXPECT_EQ(shown.text, text);
    EXPECT_EQ(shown.symbol, symbol);
}

TEST(Status, an_active_bridge) {
    expectPresentation(BridgeStatus::on(), status::Kind::On, "Bridge active",
                       "antenna.radiowaves.left.and.right");
}

TEST(Status, a_bridge_that_starts) {
    expectPresentation(BridgeStatus::pairing(), status::Kind::Pairing, "Pairing\u2026",
                       "antenna.radiowaves.left.and.right");
}

TEST(Status, a_bridge_that_failed) {
    expectPresentation(BridgeStatus::error("The connection to the device was interrupted."),
                       status::Kind::Error, "Error: The connection to the device was interrupted.",
                       "exclamationmark.triangle.fill");
}

TEST(Status, a_bridge_that_is_off) {
    expectPresentation(BridgeStatus::off(), status::Kind::Off, "Off",
                       "antenna.radiowaves.left.and.right.slash");
}

TEST(Status, a_bridge_runs_while_it_starts_and_while_it_is_active) {
    EXPECT_TRUE(isRunning(status::Kind::Pairing));
    EXPECT_TRUE(isRunning(status::Kind::On));
    EXPECT_FALSE(isRunning(status::Kind::Off));
    EXPECT_FALSE(isRunning(status::Kind::Error));
}

TEST(Status, a_failure_of_several_lines_keeps_them_and_hides_nothing) {
    EXPECT_EQ(presentationOf(BridgeStatus::error("first\nsecond\x1b[2J")).text,
              "Error: first\nsecond\\x1b[2J");
}

}  // namespace
}  // namespace quillbay

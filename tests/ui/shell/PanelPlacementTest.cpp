#include "ui/shell/PanelPlacement.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

const QRect screen(0, 0, 1600, 1170);
const QSize panel(320, 240);

TEST(PanelPlacement, below_an_item_at_the_top_centred_on_it) {
    EXPECT_EQ(panelPosition(QRect(1000, 0, 24, 24), QRect(0, 28, 1600, 1172), panel), QPoint(852, 28));
    EXPECT_EQ(panelPosition(QRect(1000, 30, 24, 24), screen, panel), QPoint(852, 58));
}

TEST(PanelPlacement, above_an_item_at_the_bottom) {
    EXPECT_EQ(panelPosition(QRect(1000, 1140, 24, 24), screen, panel), QPoint(852, 896));
    // In a panel that is not part of the available area.
    EXPECT_EQ(panelPosition(QRect(1000, 1174, 24, 24), screen, panel), QPoint(852, 930));
}

TEST(PanelPlacement, keeps_away_from_the_sides_of_the_screen) {
    EXPECT_EQ(panelPosition(QRect(1570, 0, 24, 24), screen, panel).x(), 1272);
    EXPECT_EQ(panelPosition(QRect(0, 0, 24, 24), screen, panel).x(), 8);
}

TEST(PanelPlacement, is_whole_on_a_screen_that_begins_elsewhere) {
    const QRect second(1600, -200, 1280, 1024);
    const QPoint corner = panelPosition(QRect(2850, 800, 24, 24), second, panel);
    EXPECT_TRUE(second.contains(QRect(corner, panel)));
}

TEST(PanelPlacement, without_a_place_is_top_right_8_points_in) {
    EXPECT_EQ(panelPosition(QRect(), QRect(100, 30, 1500, 1000), panel), QPoint(1272, 38));
}

TEST(PanelPlacement, one_that_is_larger_than_the_screen_shows_its_beginning) {
    EXPECT_EQ(panelPosition(QRect(100, 380, 24, 24), QRect(0, 0, 300, 400), QSize(320, 600)), QPoint(0, 0));
}

}  // namespace
}  // namespace quillbay

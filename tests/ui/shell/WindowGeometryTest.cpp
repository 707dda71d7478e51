#include "ui/shell/WindowGeometry.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

const QRect laptop(0, 28, 1440, 872);
const QRect monitor(1440, 0, 1920, 1080);

TEST(WindowGeometry, is_kept_as_a_text) {
    EXPECT_EQ(geometryText({QRect(120, -80, 1024, 700), false}), "120,-80,1024,700");
    EXPECT_EQ(geometryText({QRect(0, 0, 760, 520), true}), "0,0,760,520,maximized");
    for (const bool maximized : {false, true}) {
        const WindowGeometry geometry{QRect(120, -80, 1024, 700), maximized};
        EXPECT_EQ(parseGeometry(geometryText(geometry)), geometry);
    }
}

TEST(WindowGeometry, of_a_text_that_is_none_is_nothing) {
    for (const char* text : {"", ",", "1,2,3", "1,2,3,", "1,2,3,4,", "1,2,3,4,5", "1,2,3,4 ", "a,2,3,4",
                             "1;2;3;4", "1,2,3,4,maximised", "maximized", "1,2,0,4", "1,2,3,-4",
                             "1,2,3,100001", "-100001,2,3,4", "99999999999999999999,2,3,4", "1.5,2,3,4"})
        EXPECT_EQ(parseGeometry(text), std::nullopt) << text;
}

TEST(FittedWindow, stays_where_it_was_when_it_can_be_seen_whole) {
    EXPECT_EQ(fittedTo({laptop, monitor}, QRect(100, 100, 1024, 700)), QRect(100, 100, 1024, 700));
    EXPECT_EQ(fittedTo({laptop, monitor}, QRect(2000, 10, 1024, 700)), QRect(2000, 10, 1024, 700));
}

TEST(FittedWindow, moves_back_onto_its_screen) {
    EXPECT_EQ(fittedTo({laptop}, QRect(900, 500, 1024, 700)), QRect(416, 200, 1024, 700));
    EXPECT_EQ(fittedTo({laptop}, QRect(-900, -100, 1024, 700)), QRect(0, 28, 1024, 700));
}

TEST(FittedWindow, goes_to_the_screen_that_most_of_it_is_on) {
    EXPECT_EQ(fittedTo({laptop, monitor}, QRect(1300, 100, 1024, 700)), QRect(1440, 100, 1024, 700));
    EXPECT_EQ(fittedTo({laptop, monitor}, QRect(700, 100, 1024, 700)), QRect(416, 100, 1024, 700));
}

TEST(FittedWindow, is_no_larger_than_the_screen) {
    EXPECT_EQ(fittedTo({laptop}, QRect(-10, 0, 5000, 3000)), laptop);
}

TEST(FittedWindow, whose_screen_is_gone_is_in_the_middle_of_the_first_one) {
    EXPECT_EQ(fittedTo({laptop}, QRect(3000, 3000, 1024, 700)).center(), laptop.center());
}

TEST(FittedWindow, without_any_screen_stays_as_it_was) {
    EXPECT_EQ(fittedTo({}, QRect(1, 2, 3, 4)), QRect(1, 2, 3, 4));
}

}  // namespace
}  // namespace quillbay

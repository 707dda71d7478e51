#include "ui/shell/TrayImage.h"

#include <gtest/gtest.h>

#include <QRect>
#include <cmath>
#include <cstdlib>

namespace quillbay {
namespace {

const QColor dotColor(0, 122, 255);

QRect inked(const QImage& image) {
    QRect ink;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) > 0) ink |= QRect(x, y, 1, 1);
    return ink;
}

/// How many pixels are wholly of this colour.
int count(const QImage& image, const QColor& color) {
    int found = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) == color.rgba()) ++found;
    return found;
}

/// How many pixels of the ring around the dot's middle, between these distances, are not clear.
int inkAround(const QImage& image, double from, double to) {
    int found = 0;
    for (int y = 0; y < 24; ++y)
        for (int x = 20; x < image.width(); ++x) {
            const double distance = std::hypot(x + 0.5 - 38, y + 0.5 - 6);
            if (distance >= from && distance <= to && qAlpha(image.pixel(x, y)) > 0) ++found;
        }
    return found;
}

struct State {
    const char* symbol;
    QColor color;
};

class TrayImageTest : public ::testing::TestWithParam<State> {
 protected:
    [[nodiscard]] TraySight sight() const {
        return {QString::fromLatin1(GetParam().symbol), GetParam().color, {}};
    }
};

TEST_P(TrayImageTest, is_the_symbol_in_its_colour_in_the_middle) {
    const QImage image = trayImage(sight(), 22, 2);
    EXPECT_EQ(image.size(), QSize(44, 44));
    EXPECT_GT(count(image, GetParam().color), 20);
    EXPECT_EQ(count(image, dotColor), 0);
    const QRect ink = inked(image);
    EXPECT_TRUE(QRect(5, 5, 34, 34).contains(ink));
    EXPECT_GE(ink.width(), 24);
    EXPECT_LE(std::abs(ink.center().x() - 22), 2);
}

TEST_P(TrayImageTest, has_a_6_point_dot_at_the_top_right_when_there_is_an_update) {
    TraySight withDot = sight();
    withDot.dot = dotColor;
    const QImage image = trayImage(withDot, 22, 2);
    const QRect corner(32, 0, 12, 12);
    EXPECT_EQ(inked(image.copy(corner)), QRect(0, 0, 12, 12));
    EXPECT_EQ(QColor(image.pixel(38, 6)), dotColor);
    // A circle of 12 pixels across.
    EXPECT_NEAR(count(image, dotColor), 100, 16);
    // It does not touch the symbol.
    EXPECT_EQ(inkAround(image, 6.8, 7.4), 0);
    EXPECT_GT(count(image, GetParam().color), 20);
}

INSTANTIATE_TEST_SUITE_P(States, TrayImageTest,
                         ::testing::Values(State{"antenna.radiowaves.left.and.right", QColor(46, 158, 74)},
                                           State{"antenna.radiowaves.left.and.right", QColor(217, 108, 0)},
                                           State{"exclamationmark.triangle.fill", QColor(229, 65, 58)},
                                           State{"antenna.radiowaves.left.and.right.slash",
                                                 QColor(142, 142, 149)}));

TEST(TrayIcon, has_the_sizes_that_trays_ask_for) {
    const QIcon icon = trayIcon({QStringLiteral("exclamationmark.triangle.fill"), Qt::red, dotColor});
    for (const int size : {22, 24, 44, 48, 66, 72})
        EXPECT_EQ(icon.pixmap(QSize(size, size), 1.0).size(), QSize(size, size));
}

}  // namespace
}  // namespace quillbay

#include "ui/design/SymbolPainter.h"

#include <gtest/gtest.h>

#include <QRect>
#include <QtGlobal>
#include <algorithm>
#include <cmath>

#include "ui/SymbolFiles.h"

namespace quillbay {
namespace {

using test::symbolNames;

/// Ten pixels per unit of the grid, at a size that has the stroke of the files.
constexpr double gridSize = 20;
constexpr double gridScale = 12;
constexpr double pixelsPerUnit = gridSize * gridScale / 24;

/// What a symbol covers, in units of the grid.
struct Ink {
    double left = 24, top = 24, right = 0, bottom = 0;
    double centreX = 0, centreY = 0;
};

Ink inkOf(const QString& name) {
    const QImage image = symbols::image(name, Qt::black, gridSize, gridScale);
    Ink ink;
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const double alpha = qAlpha(image.pixel(x, y)) / 255.0;
            sum += alpha;
            ink.centreX += alpha * (x + 0.5) / pixelsPerUnit;
            ink.centreY += alpha * (y + 0.5) / pixelsPerUnit;
            if (alpha < 0.5) continue;
            ink.left = std::min(ink.left, x / pixelsPerUnit);
            ink.top = std::min(ink.top, y / pixelsPerUnit);
            ink.right = std::max(ink.right, (x + 1) / pixelsPerUnit);
            ink.bottom = std::max(ink.bottom, (y + 1) / pixelsPerUnit);
        }
    }
    ink.centreX /= sum;
    ink.centreY /= sum;
    return ink;
}

/// How much of the row at `y` units is covered, in units.
double coveredInRow(const QImage& image, double y, double unit) {
    double covered = 0;
    for (int x = 0; x < image.width(); ++x)
        covered += qAlpha(image.pixel(x, static_cast<int>(y * unit))) / 255.0;
    return covered / unit;
}

int messages = 0;
void countMessage(QtMsgType, const QMessageLogContext&, const QString& text) {
    if (text.contains("There is no symbol")) ++messages;
}

TEST(SymbolPainter, draws_every_symbol) {
    for (const QString& name : symbolNames()) {
        const QImage image = symbols::image(name, Qt::black, 14, 1);
        ASSERT_FALSE(image.isNull()) << name.toStdString();
        const Ink ink = inkOf(name);
        EXPECT_GT(std::max(ink.right - ink.left, ink.bottom - ink.top), 12) << name.toStdString();
    }
}

TEST(SymbolPainter, every_symbol_keeps_two_units_clear) {
    for (const QString& name : symbolNames()) {
        const Ink ink = inkOf(name);
        EXPECT_GE(ink.left, 2) << name.toStdString();
        EXPECT_GE(ink.top, 2) << name.toStdString();
        EXPECT_LE(ink.right, 22) << name.toStdString();
        EXPECT_LE(ink.bottom, 22) << name.toStdString();
    }
}

TEST(SymbolPainter, every_symbol_stands_in_the_middle_as_the_eye_sees_it) {
    for (const QString& name : symbolNames()) {
        const Ink ink = inkOf(name);
        const double middleX = (ink.left + ink.right) / 2, middleY = (ink.top + ink.bottom) / 2;
        EXPECT_NEAR(middleX, 12, 0.55) << name.toStdString();
        EXPECT_NEAR(middleY, 12, 0.55) << name.toStdString();
        // The eye weighs the ink too: most of a triangle's is at its foot.
        EXPECT_NEAR((middleX + ink.centreX) / 2, 12, 1.4) << name.toStdString();
        EXPECT_NEAR((middleY + ink.centreY) / 2, 12, 1.4) << name.toStdString();
    }
}

TEST(SymbolPainter, the_slash_clears_the_waves) {
    const QString name = "antenna.radiowaves.left.and.right.slash";
    const QImage image = symbols::image(name, Qt::black, gridSize, gridScale);
    // Across the middle of the slash: nothing within 1.25 units of either edge of it.
    const QImage antenna =
        symbols::image("antenna.radiowaves.left.and.right", Qt::black, gridSize, gridScale);
    constexpr double fromX = 5.1, fromY = 3.05, toX = 19.8, toY = 19.95;
    const double length = std::hypot(toX - fromX, toY - fromY);
    const double acrossX = (toY - fromY) / length, acrossY = -(toX - fromX) / length;
    const auto alphaAt = [](const QImage& in, double x, double y) {
        return qAlpha(in.pixel(static_cast<int>(x * pixelsPerUnit), static_cast<int>(y * pixelsPerUnit)));
    };
    int crossed = 0;
    for (int step = 2; step < 98; ++step) {
        const double x = fromX + (toX - fromX) * step / 100, y = fromY + (toY - fromY) * step / 100;
        EXPECT_EQ(alphaAt(image, x, y), 255);
        for (const double side : {-1.0, 1.0}) {
            for (double away = 0.875 + 0.15; away < 0.875 + 1.15; away += 0.1) {
                EXPECT_EQ(alphaAt(image, x + side * away * acrossX, y + side * away * acrossY), 0)
                    << step << " " << side * away;
                crossed += alphaAt(antenna, x + side * away * acrossX, y + side * away * acrossY) > 0;
            }
        }
    }
    EXPECT_GT(crossed, 50) << "there was something to clear";
}

TEST(SymbolPainter, the_stroke_is_lighter_in_large_symbols) {
    EXPECT_EQ(symbols::strokeWidth(12), 1.75);
    EXPECT_EQ(symbols::strokeWidth(20), 1.75);
    EXPECT_EQ(symbols::strokeWidth(23.9), 1.75);
    EXPECT_EQ(symbols::strokeWidth(24), 1.5);
    EXPECT_EQ(symbols::strokeWidth(30), 1.5);
    EXPECT_EQ(symbols::strokeWidth(39.9), 1.5);
    EXPECT_EQ(symbols::strokeWidth(40), 1.25);
    EXPECT_EQ(symbols::strokeWidth(44), 1.25);
}

TEST(SymbolPainter, the_picture_has_the_stroke_of_its_size) {
    const auto barOfPlus = [](double size) {
        const QImage image = symbols::image("plus", Qt::black, size, 240 / size);
        return coveredInRow(image, 8, 10);
    };
    EXPECT_NEAR(barOfPlus(20), 1.75, 0.02);
    EXPECT_NEAR(barOfPlus(24), 1.5, 0.02);
    EXPECT_NEAR(barOfPlus(40), 1.25, 0.02);
}

TEST(SymbolPainter, the_tint_is_exactly_the_colour) {
    for (const QColor& color : {QColor("#C85F00"), QColor("#F2F2F4"), QColor("#0A66CF")}) {
        const QImage image = symbols::image("circle.fill", color, 24, 2);
        EXPECT_EQ(image.pixelColor(24, 24), color);
        EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
    }
    QColor half("#248A3D");
    half.setAlpha(128);
    EXPECT_EQ(symbols::image("circle.fill", half, 24, 2).pixelColor(24, 24).alpha(), 128);
}

TEST(SymbolPainter, holes_show_what_is_below) {
    EXPECT_EQ(symbols::image("arrow.down.circle.fill", Qt::red, 24, 2).pixelColor(24, 24).alpha(), 0);
    const QImage warning = symbols::image("exclamationmark.triangle.fill", Qt::red, 24, 2);
    EXPECT_EQ(warning.pixelColor(24, 22).alpha(), 0);
    EXPECT_EQ(warning.pixelColor(24, 34).alpha(), 0);
    EXPECT_EQ(warning.pixelColor(18, 34).alpha(), 255);
}

TEST(SymbolPainter, draws_at_the_pixels_of_the_screen) {
    const auto expectSize = [](double size, double scale, int pixels) {
        const QImage image = symbols::image("network", Qt::black, size, scale);
        EXPECT_EQ(image.width(), pixels);
        EXPECT_EQ(image.height(), pixels);
        EXPECT_DOUBLE_EQ(image.devicePixelRatio(), scale);
    };
    expectSize(14, 1, 14);
    expectSize(14, 2, 28);
    expectSize(14, 1.5, 21);
    // Half a pixel more than 19: the last one is there, though only half of it counts.
    expectSize(13, 1.5, 20);
}

TEST(SymbolPainter, an_unknown_name_is_nothing_and_is_told_once) {
    messages = 0;
    const QtMessageHandler before = qInstallMessageHandler(countMessage);
    EXPECT_TRUE(symbols::image("no.such.symbol", Qt::black, 14, 1).isNull());
    EXPECT_TRUE(symbols::image("no.such.symbol", Qt::red, 20, 2).isNull());
    EXPECT_EQ(messages, 1);
    EXPECT_TRUE(symbols::image("nor.this.one", Qt::black, 14, 1).isNull());
    EXPECT_EQ(messages, 2);
    qInstallMessageHandler(before);
}

TEST(SymbolPainter, no_name_is_nothing_without_a_word) {
    messages = 0;
    const QtMessageHandler before = qInstallMessageHandler(countMessage);
    EXPECT_TRUE(symbols::image("", Qt::black, 14, 1).isNull());
    EXPECT_EQ(messages, 0);
    qInstallMessageHandler(before);
}

TEST(SymbolPainter, a_size_that_nothing_can_have_is_nothing) {
    EXPECT_TRUE(symbols::image("plus", Qt::black, 0, 2).isNull());
    EXPECT_TRUE(symbols::image("plus", Qt::black, -14, 1).isNull());
    EXPECT_TRUE(symbols::image("plus", Qt::black, std::nan(""), 1).isNull());
    EXPECT_TRUE(symbols::image("plus", Qt::black, 1e9, 1).isNull());
}

TEST(SymbolPainter, the_same_picture_is_drawn_once) {
    const QImage first = symbols::image("wifi", QColor("#112233"), 16, 2);
    const QImage second = symbols::image("wifi", QColor("#112233"), 16, 2);
    EXPECT_EQ(first.cacheKey(), second.cacheKey());
    EXPECT_NE(symbols::image("wifi", QColor("#112234"), 16, 2).cacheKey(), first.cacheKey());
    EXPECT_NE(symbols::image("wifi", QColor("#112233"), 17, 2).cacheKey(), first.cacheKey());
    EXPECT_NE(symbols::image("wifi", QColor("#112233"), 16, 1).cacheKey(), first.cacheKey());
}

TEST(SymbolPainter, keeps_a_bounded_number_of_pictures) {
    // As when a colour fades into another: each frame has one of its own.
    for (int shade = 0; shade < 400; ++shade)
        ASSERT_FALSE(symbols::image("circle.fill", QColor(shade % 256, shade / 256, 0), 44, 2).isNull());
    EXPECT_LE(symbols::cachedBytes(), 4 * 1024 * 1024);
    EXPECT_GT(symbols::cachedBytes(), 3 * 1024 * 1024);
}

}  // namespace
}  // namespace quillbay

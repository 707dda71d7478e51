#include "ui/pictures/PictureComparison.h"

#include <gtest/gtest.h>

#include <QPainter>

namespace quillbay {
namespace {

/// A card on a ground, with a word's worth of ink.
QImage sample(const QColor& card = QColor(250, 250, 252), int x = 20, bool withWord = true) {
    QImage image(120, 60, QImage::Format_RGB32);
    image.fill(QColor(244, 244, 248));
    QPainter painter(&image);
    painter.fillRect(10, 10, 100, 40, card);
    if (withWord) painter.fillRect(x, 26, 9, 6, QColor(85, 86, 94));
    return image;
}

TEST(PictureComparison, finds_a_picture_the_same_as_what_is_kept_of_it) {
    const PictureComparison result = compare(sample(), kept(sample()));
    EXPECT_TRUE(result.isSame());
    EXPECT_EQ(result.greatestStep, 0);
}

TEST(PictureComparison, overlooks_a_pixel_and_what_another_processor_rounds) {
    QImage step = sample();
    step.setPixelColor(3, 3, QColor(200, 200, 204));
    EXPECT_TRUE(compare(step, kept(sample())).isSame());
    QImage levels = sample();
    for (int y = 0; y < levels.height(); ++y)
        for (int x = 0; x < levels.width(); ++x) {
            const QColor color = levels.pixelColor(x, y);
            levels.setPixelColor(x, y, QColor(color.red() - 1, color.green() - 1, color.blue() - 1));
        }
    EXPECT_TRUE(compare(levels, kept(sample())).isSame());
}

TEST(PictureComparison, sees_a_missing_word) {
    const PictureComparison result = compare(sample(QColor(250, 250, 252), 20, false), kept(sample()));
    EXPECT_FALSE(result.isSame());
    EXPECT_EQ(result.differingPixels, 54);
    EXPECT_EQ(result.difference.pixel(20, 26), qRgb(255, 0, 0));
}

TEST(PictureComparison, sees_a_word_that_has_moved_by_a_pixel) {
    EXPECT_FALSE(compare(sample(QColor(250, 250, 252), 21), kept(sample())).isSame());
}

TEST(PictureComparison, sees_a_faintly_wrong_colour_of_a_whole_card) {
    const PictureComparison result = compare(sample(QColor(245, 245, 247)), kept(sample()));
    EXPECT_EQ(result.differingPixels, 0);
    EXPECT_FALSE(result.isSame());
}

TEST(PictureComparison, sees_another_size) {
    const PictureComparison result = compare(sample().copy(0, 0, 119, 60), kept(sample()));
    EXPECT_FALSE(result.isSame());
    EXPECT_EQ(result.words(), QStringLiteral("another size"));
}

}  // namespace
}  // namespace quillbay

#include "ui/pictures/PictureComparison.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace quillbay {

namespace {

int step(int came, int kept) {
    return std::max(0, std::abs(came - kept) - PictureComparison::keptStep);
}

std::array<int, 3> steps(QRgb came, QRgb kept) {
    return {step(qRed(came), qRed(kept)), step(qGreen(came), qGreen(kept)), step(qBlue(came), qBlue(kept))};
}

int keptLevel(int level) {
    return std::min(255, (level + 2) / 4 * 4);
}

QImage paled(const QImage& picture) {
    QImage pale = picture.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < pale.height(); ++y)
        for (int x = 0; x < pale.width(); ++x) {
            const int grey = 170 + qGray(pale.pixel(x, y)) / 3;
            pale.setPixel(x, y, qRgb(grey, grey, grey));
        }
    return pale;
}

/// How much the channels of a block differ, on average.
double blockStep(const QImage& came, const QImage& expected, const QRect& block) {
    int sum = 0;
    for (int y = block.top(); y <= block.bottom(); ++y)
        for (int x = block.left(); x <= block.right(); ++x)
            for (const int one : steps(came.pixel(x, y), expected.pixel(x, y)))
                sum += one;
    return static_cast<double>(sum) / (3 * block.width() * block.height());
}

void comparePixels(const QImage& came, const QImage& expected, PictureComparison& result) {
    for (int y = 0; y < expected.height(); ++y)
        for (int x = 0; x < expected.width(); ++x) {
            const int most = std::ranges::max(steps(came.pixel(x, y), expected.pixel(x, y)));
            result.greatestStep = std::max(result.greatestStep, most);
            if (most <= PictureComparison::unseenStep) continue;
            ++result.differingPixels;
            result.difference.setPixel(x, y, qRgb(255, 0, 0));
        }
}

void compareBlocks(const QImage& came, const QImage& expected, PictureComparison& result) {
    constexpr int size = PictureComparison::blockSize;
    for (int y = 0; y < expected.height(); y += size)
        for (int x = 0; x < expected.width(); x += size) {
            const QRect block = QRect(x, y, size, size) & expected.rect();
            if (blockStep(came, expected, block) <= PictureComparison::unseenBlockStep) continue;
            ++result.differingBlocks;
            for (int inside = block.left(); inside <= block.right(); ++inside)
                result.difference.setPixel(inside, block.top(), qRgb(255, 0, 0));
        }
}

}  // namespace

QString PictureComparison::words() const {
    if (!sameSize) return QStringLiteral("another size");
    return QStringLiteral("%1 pixels and %2 blocks differ, by up to %3 of 255")
        .arg(differingPixels)
        .arg(differingBlocks)
        .arg(greatestStep);
}

QImage kept(const QImage& picture) {
    QImage coarse = picture.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < coarse.height(); ++y)
        for (int x = 0; x < coarse.width(); ++x) {
            const QRgb color = coarse.pixel(x, y);
            coarse.setPixel(x, y,
                            qRgb(keptLevel(qRed(color)), keptLevel(qGreen(color)), keptLevel(qBlue(color))));
        }
    return coarse;
}

PictureComparison compare(const QImage& came, const QImage& expected) {
    PictureComparison result;
    result.difference = paled(expected);
    result.sameSize = came.size() == expected.size();
    if (!result.sameSize) return result;
    const QImage one = came.convertToFormat(QImage::Format_RGB32);
    const QImage other = expected.convertToFormat(QImage::Format_RGB32);
    comparePixels(one, other, result);
    compareBlocks(one, other, result);
    return result;
}

}  // namespace quillbay

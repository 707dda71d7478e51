#pragma once

#include <QImage>
#include <QString>

namespace quillbay {

/// The picture as it is kept: its colours in steps of four, which makes the file half as large.
QImage kept(const QImage& picture);

/// Where and how much a picture differs from the one that is kept of the same thing.
///
/// A window drawn again is the same to the bit. What may differ is what another processor rounds, in steps of
/// one; what must not is anything that a person could see, of which a faint line is the least.
struct PictureComparison {
    /// A channel is off by so much in what is kept. Only what is beyond counts below.
    static constexpr int keptStep = 2;
    /// A pixel differs when one of its channels does by more.
    static constexpr int unseenStep = 8;
    /// So many pixels may.
    static constexpr int unseenPixels = 8;
    /// A block, as wide and high as this, differs when its channels do by more on average.
    static constexpr int blockSize = 8;
    static constexpr double unseenBlockStep = 1.0;

    bool sameSize = false;
    int differingPixels = 0;
    int differingBlocks = 0;
    int greatestStep = 0;
    /// The expected picture, pale, and in it all that differs, in red.
    QImage difference;

    [[nodiscard]] bool isSame() const {
        return sameSize && differingPixels <= unseenPixels && differingBlocks == 0;
    }
    /// One sentence for the reader of a failure.
    [[nodiscard]] QString words() const;
};

PictureComparison compare(const QImage& came, const QImage& kept);

}  // namespace quillbay

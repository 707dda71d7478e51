#pragma once

#include <gtest/gtest.h>

#include <QFontDatabase>
#include <QImage>
#include <QRect>
#include <QString>

#include "ui/WindowFixture.h"

namespace quillbay {

/// What is wrong with a picture: how it differs from the committed NAME.png, and where that can be seen.
/// Empty when they are the same. With QUILLBAY_PICTURES=write the picture becomes the committed one.
QString pictureFault(const QImage& came, const QString& name);

/// A fixture whose windows are drawn in both appearances and compared with the committed pictures.
template <class Fixture>
class Pictured : public Fixture, public ::testing::WithParamInterface<bool> {
 protected:
    void SetUp() override {
        Fixture::SetUp();
        for (const QString& family : {QStringLiteral("Inter"), QStringLiteral("JetBrains Mono")})
            ASSERT_TRUE(QFontDatabase::hasFamily(family))
                << "The font " << family.toStdString()
                << " is not installed (Debian: fonts-inter, fonts-jetbrains-mono).";
        this->setDark(dark());
    }
    [[nodiscard]] static bool dark() { return ::testing::WithParamInterface<bool>::GetParam(); }
    /// The window, or a part of it.
    void look(const QString& name, const QRectF& part = {}) {
        hideVersion();
        this->settleWindow();
        EXPECT_EQ(this->layoutFaults(), QStringList());
        compare(this->window->grabWindow(), name, part);
    }
    /// The version of the program, which is another one with each release.
    void hideVersion() {
        QQuickItem* footer = this->ofType("DetailFooter");
        if (footer != nullptr)
            this->ofType("StyledText", footer)
                ->setProperty("text", QStringLiteral("Quillbay - v1.4.2 Build(1)"));
    }
    void compare(const QImage& came, const QString& name, const QRectF& part = {}) {
        const QString whole = name + (dark() ? QStringLiteral("-dark") : QStringLiteral("-light"));
        const QRect shown = part.isValid() ? part.toAlignedRect() & came.rect() : came.rect();
        const QString fault = pictureFault(came.copy(shown), whole);
        EXPECT_EQ(fault, QString());
    }
};

inline std::string appearanceName(const ::testing::TestParamInfo<bool>& run) {
    return run.param ? "dark" : "light";
}

}  // namespace quillbay

#include "ui/design/Appearance.h"

#include <QFontDatabase>

namespace quillbay {

Appearance::Appearance(QObject* parent)
    : QObject(parent),
      fontFamily_(QFontDatabase::systemFont(QFontDatabase::GeneralFont).family()),
      fixedFontFamily_(QFontDatabase::systemFont(QFontDatabase::FixedFont).family()) {}

void Appearance::setDark(bool dark) {
    if (dark == dark_) return;
    dark_ = dark;
    Q_EMIT changed();
}

void Appearance::setReducedMotion(bool reduced) {
    if (reduced == reducedMotion_) return;
    reducedMotion_ = reduced;
    Q_EMIT changed();
}

void Appearance::setFontFamily(const QString& family) {
    if (family == fontFamily_) return;
    fontFamily_ = family;
    Q_EMIT changed();
}

void Appearance::setFixedFontFamily(const QString& family) {
    if (family == fixedFontFamily_) return;
    fixedFontFamily_ = family;
    Q_EMIT changed();
}

}  // namespace quillbay

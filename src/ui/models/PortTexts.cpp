#include "ui/models/PortTexts.h"

#include <QLocale>

namespace quillbay {

QString tunnelPortRangeText(const DeviceProfile& profile) {
    return QStringLiteral("%1–%2").arg(profile.tunnelPortRangeStart).arg(profile.tunnelPortRangeEnd);
}

QString probedPortsText(std::size_t probed, std::size_t total) {
    const QLocale english(QLocale::English, QLocale::UnitedStates);
    return QStringLiteral("%1 of %2 ports")
        .arg(english.toString(static_cast<qulonglong>(probed)),
             english.toString(static_cast<qulonglong>(total)));
}

}  // namespace quillbay

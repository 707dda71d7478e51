#include "ui/models/Status.h"

#include "ui/models/ShownText.h"

namespace quillbay {

bool isRunning(status::Kind kind) {
    return kind == status::Kind::Pairing || kind == status::Kind::On;
}

StatusPresentation presentationOf(const BridgeStatus& status) {
    switch (status.kind) {
        case BridgeStatus::Kind::on:
            return {status::Kind::On, QStringLiteral("Bridge active"),
                    QStringLiteral("antenna.radiowaves.left.and.right")};
        case BridgeStatus::Kind::pairing:
            return {status::Kind::Pairing, QStringLiteral("Pairing…"),
                    QStringLiteral("antenna.radiowaves.left.and.right")};
        case BridgeStatus::Kind::error:
            return {status::Kind::Error, QStringLiteral("Error: ") + shownLines(status.message),
                    QStringLiteral("exclamationmark.triangle.fill")};
        case BridgeStatus::Kind::off:
            break;
    }
    return {status::Kind::Off, QStringLiteral("Off"),
            QStringLiteral("antenna.radiowaves.left.and.right.slash")};
}

}  // namespace quillbay

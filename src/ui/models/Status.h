#pragma once

#include <QQmlEngine>
#include <QString>

#include "core/BridgeStatus.h"

namespace quillbay {

/// The states of a bridge, by name for QML: `Status.On`.
namespace status {
Q_NAMESPACE
QML_NAMED_ELEMENT(Status)
enum class Kind { Off, Pairing, On, Error };
Q_ENUM_NS(Kind)
}  // namespace status

/// What people see of a bridge's status: the same words and symbol wherever one is shown. The colour follows
/// from `kind`, by the appearance (DS.qml).
class StatusPresentation {
    Q_GADGET
    QML_VALUE_TYPE(statusPresentation)
    Q_PROPERTY(quillbay::status::Kind kind MEMBER kind)
    Q_PROPERTY(QString text MEMBER text)
    Q_PROPERTY(QString symbol MEMBER symbol)

 public:
    status::Kind kind = status::Kind::Off;
    /// "Bridge active", or "Error: " and the sentence; one line or several.
    QString text;
    /// The symbol's name.
    QString symbol;

    bool operator==(const StatusPresentation&) const = default;
};

/// Whether the bridge runs or starts: its switch is on, and its device cannot be edited.
bool isRunning(status::Kind kind);

/// `status` as people see it.
StatusPresentation presentationOf(const BridgeStatus& status);

}  // namespace quillbay

#include "Samples.h"

#include <QAccessible>
#include <QMetaEnum>

#include "core/BridgeStatus.h"

namespace quillbay {

Samples::Samples(QObject* parent) : QObject(parent) {
    const auto& root = folder_.path();
    logs_ = std::make_unique<AppLogStore>(FileLocations{root, root, root, root}, clock_);
    log_ = std::make_unique<LogModel>(*logs_);
}

Samples::~Samples() = default;

StatusPresentation Samples::off() const {
    return presentationOf(BridgeStatus::off());
}

StatusPresentation Samples::pairing() const {
    return presentationOf(BridgeStatus::pairing());
}

StatusPresentation Samples::on() const {
    return presentationOf(BridgeStatus::on());
}

StatusPresentation Samples::error(const QString& message) const {
    return presentationOf(BridgeStatus::error(message.toStdString()));
}

void Samples::addLogLine(const QString& line) {
    logs_->user(line.toStdString());
}

void Samples::setPeers(const QStringList& names) {
    std::vector<PeerEntry> entries{{{}, QStringLiteral("Select"), {}, false}};
    for (const QString& name : names) {
        const bool online = name.startsWith('+');
        const QString bare = online ? name.sliced(1) : name;
        entries.push_back({bare, bare + (online ? QStringLiteral(" (online)") : QStringLiteral(" (offline)")),
                           online ? QStringLiteral("circle.fill") : QStringLiteral("circle"), online});
    }
    peers_.setEntries(std::move(entries));
}

QString Samples::accessibleName(QObject* item) const {
    QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(item);
    return interface ? interface->text(QAccessible::Name) : QString();
}

QString Samples::accessibleRole(QObject* item) const {
    QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(item);
    if (!interface) return {};
    return QString::fromLatin1(QMetaEnum::fromType<QAccessible::Role>().valueToKey(interface->role()));
}

QString Samples::pictureFolder() const {
    return qEnvironmentVariable("QUILLBAY_PICTURES");
}

}  // namespace quillbay

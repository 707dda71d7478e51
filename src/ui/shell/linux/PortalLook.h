#pragma once

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QString>
#include <QVariant>
#include <memory>
#include <optional>

#include "ui/shell/DesktopLook.h"

namespace quillbay {

/// The look by the desktop's settings portal (org.freedesktop.portal.Settings), and by Qt's palette where
/// that has no opinion. Nothing here waits for the bus.
class PortalLook final : public DesktopLook {
    Q_OBJECT

 public:
    explicit PortalLook(const QDBusConnection& bus);

    [[nodiscard]] bool dark() const override { return dark_.value_or(paletteDark_); }
    [[nodiscard]] bool reducedMotion() const override { return reducedMotion_; }
    [[nodiscard]] bool isKnown() const override { return known_; }
    bool eventFilter(QObject* watched, QEvent* event) override;

 private Q_SLOTS:
    void take(const QString& name, const QString& key, const QDBusVariant& value);

 private:
    void ask();
    /// False when it is not one of ours.
    bool set(const QString& name, const QString& key, const QVariant& value);

    QDBusConnection bus_;
    QDBusServiceWatcher portal_;
    /// To the last question.
    std::unique_ptr<QDBusPendingCallWatcher> answer_;
    std::optional<bool> dark_;
    bool paletteDark_ = paletteIsDark();
    bool reducedMotion_ = false;
    bool known_ = false;
};

}  // namespace quillbay

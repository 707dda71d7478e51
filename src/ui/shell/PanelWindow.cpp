#include "ui/shell/PanelWindow.h"

#include <QGuiApplication>
#include <QScreen>

#include "ui/shell/PanelPlacement.h"
#include "ui/shell/PanelSurroundings.h"
#include "ui/shell/QmlWindows.h"

namespace quillbay {

namespace {

using std::chrono::steady_clock;

const QScreen* screenOf(const QRect& item) {
    const QScreen* screen = item.isEmpty() ? nullptr : QGuiApplication::screenAt(item.center());
    return screen != nullptr ? screen : QGuiApplication::primaryScreen();
}

}  // namespace

PanelWindow::PanelWindow(QQmlEngine& engine, QObject* model) : engine_(engine), model_(model) {
    fade_.setPropertyName("opacity");
    connect(&fade_, &QPropertyAnimation::finished, this, [this] {
        if (!closing_ || !window_) return;
        fade_.setTargetObject(nullptr);
        window_->hide();
        // The click that closes it may still be under way in it.
        window_.release()->deleteLater();
    });
}

PanelWindow::~PanelWindow() {
    fade_.stop();
}

void PanelWindow::toggle(const QRect& item, std::chrono::milliseconds fade) {
    // A click at the item takes the keyboard from the panel first, and so closes it: the same click must not
    // open it again.
    constexpr std::chrono::milliseconds ofOneClick{300};
    const bool justLeft = left_ && steady_clock::now() - *left_ < ofOneClick;
    left_.reset();
    if (window_ && !closing_) return close();
    if (!justLeft) open(item, fade);
}

void PanelWindow::open(const QRect& item, std::chrono::milliseconds fade) {
    fade_.stop();
    window_ = makeWindow(engine_, QStringLiteral("MenuBarPanel"), model_,
                         "readonly property real cornerRadius: DS.radiusPanel");
    item_ = item;
    closing_ = false;
    wasActive_ = false;
    fade_.setDuration(static_cast<int>(fade.count()));
    connect(window_.get(), &QWindow::heightChanged, this, &PanelWindow::place);
    connect(window_.get(), &QWindow::activeChanged, this, [this] {
        if (!window_ || closing_) return;
        if (!window_->isActive() && wasActive_) {
            left_ = steady_clock::now();
            close();
        } else {
            wasActive_ = window_->isActive();
        }
    });
    place();
    window_->setOpacity(fade.count() > 0 ? 0 : 1);
    bringToFront(*window_);
    keepOutOfTaskbar(*window_);
    fade_.setTargetObject(window_.get());
    fade_.setStartValue(window_->opacity());
    fade_.setEndValue(1.0);
    fade_.start();
}

void PanelWindow::close() {
    if (!window_ || closing_) return;
    closing_ = true;
    fade_.stop();
    fade_.setStartValue(window_->opacity());
    fade_.setEndValue(0.0);
    fade_.start();
}

void PanelWindow::place() {
    const QScreen* const screen = screenOf(item_);
    if (screen == nullptr || !window_) return;
    shapePanel(*window_, window_->property("cornerRadius").toDouble());
    window_->setPosition(panelPosition(item_, screen->availableGeometry(), window_->size()));
}

}  // namespace quillbay

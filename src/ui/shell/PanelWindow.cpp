#include "ui/shell/PanelWindow.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>

#include "ui/shell/PanelPlacement.h"
#include "ui/shell/PanelSurroundings.h"
#include "ui/shell/QmlWindows.h"

namespace quillbay {

namespace {

using std::chrono::steady_clock;

/// Longer than window managers take to give a window the keyboard.
constexpr std::chrono::milliseconds patience{500};

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
    keyboardPatience_.setSingleShot(true);
    keyboardPatience_.setInterval(patience);
    connect(&keyboardPatience_, &QTimer::timeout, this, [this] {
        if (window_ && !closing_ && lacksKeyboard(*window_)) takePointer(*window_, true);
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
    connect(window_.get(), &QWindow::activeChanged, this, &PanelWindow::activeChanged);
    window_->installEventFilter(this);
    place();
    window_->setOpacity(fade.count() > 0 ? 0 : 1);
    bringToFront(*window_);
    keepOutOfTaskbar(*window_);
    fade_.setTargetObject(window_.get());
    fade_.setStartValue(window_->opacity());
    fade_.setEndValue(1.0);
    fade_.start();
    keyboardPatience_.start();
}

void PanelWindow::activeChanged() {
    if (!window_ || closing_) return;
    if (!window_->isActive() && wasActive_) {
        left_ = steady_clock::now();
        return close();
    }
    wasActive_ = window_->isActive();
    if (wasActive_) takePointer(*window_, false);
}

bool PanelWindow::eventFilter(QObject* watched, QEvent* event) {
    if (!window_ || watched != window_.get() || event->type() != QEvent::MouseButtonPress) return false;
    const QPoint place = static_cast<QMouseEvent*>(event)->position().toPoint();
    if (QRect(QPoint(), window_->size()).contains(place)) return false;
    close();
    return true;
}

void PanelWindow::close() {
    if (!window_ || closing_) return;
    closing_ = true;
    keyboardPatience_.stop();
    takePointer(*window_, false);
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

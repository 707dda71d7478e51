#pragma once

#include <QObject>
#include <QPropertyAnimation>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QRect>
#include <QTimer>
#include <chrono>
#include <memory>
#include <optional>

namespace quillbay {

/// The panel at the menu-bar item: opens there, and closes when the user goes elsewhere. Where the window
/// manager does not give it the keyboard, it sees that by the pointer, as a menu does. It exists only while
/// it is shown. Main thread; what it is made of must outlive it.
class PanelWindow : public QObject {
    Q_OBJECT

 public:
    PanelWindow(QQmlEngine& engine, QObject* model);
    ~PanelWindow() override;

    /// Opens it at the item, whose place may be empty, or closes it. `fade` is how long that takes to be
    /// seen.
    void toggle(const QRect& item, std::chrono::milliseconds fade);
    void close();

    bool eventFilter(QObject* watched, QEvent* event) override;

 private:
    void open(const QRect& item, std::chrono::milliseconds fade);
    void place();
    void activeChanged();

    QQmlEngine& engine_;
    QObject* model_;
    std::unique_ptr<QQuickWindow> window_;
    QPropertyAnimation fade_;
    /// Runs while the keyboard is awaited.
    QTimer keyboardPatience_;
    QRect item_;
    bool closing_ = false;
    bool wasActive_ = false;
    /// When it closed because the user went elsewhere.
    std::optional<std::chrono::steady_clock::time_point> left_;
};

}  // namespace quillbay

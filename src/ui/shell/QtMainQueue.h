#pragma once

#include <QObject>
#include <thread>

#include "platform/MainQueue.h"

namespace quillbay {

/// The main queue of a program with windows: Qt's event loop on the thread that makes this. Tasks that still
/// wait when it goes never run.
class QtMainQueue final : public MainQueue {
 public:
    QtMainQueue() = default;

    void post(Task task) override;
    [[nodiscard]] std::unique_ptr<MainTimer> after(std::chrono::milliseconds delay, Task task) override;
    [[nodiscard]] bool isCurrent() const override;

 private:
    /// Takes the events that carry the tasks.
    class Receiver final : public QObject {
     public:
        bool event(QEvent* event) override;
    };

    std::thread::id thread_ = std::this_thread::get_id();
    Receiver receiver_;
};

}  // namespace quillbay

#include "ui/shell/QtMainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>
#include <utility>

namespace quillbay {

namespace {

QEvent::Type taskEventType() {
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

class TaskEvent final : public QEvent {
 public:
    explicit TaskEvent(Task carried) : QEvent(taskEventType()), task(std::move(carried)) {}

    Task task;
};

class QtMainTimer final : public MainTimer {
 public:
    QtMainTimer(std::chrono::milliseconds delay, Task task) : task_(std::make_shared<Task>(std::move(task))) {
        timer_.setSingleShot(true);
        timer_.setTimerType(Qt::PreciseTimer);
        // The task may drop this timer, and must stay whole until it has ended.
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [weak = std::weak_ptr<Task>(task_)] {
            if (const auto kept = weak.lock()) (*kept)();
        });
        timer_.start(delay);
    }

 private:
    QTimer timer_;
    std::shared_ptr<Task> task_;
};

}  // namespace

bool QtMainQueue::Receiver::event(QEvent* event) {
    if (event->type() != taskEventType()) return QObject::event(event);
    static_cast<TaskEvent*>(event)->task();
    return true;
}

void QtMainQueue::post(Task task) {
    QCoreApplication::postEvent(&receiver_, new TaskEvent(std::move(task)));
}

std::unique_ptr<MainTimer> QtMainQueue::after(std::chrono::milliseconds delay, Task task) {
    return std::make_unique<QtMainTimer>(delay, std::move(task));
}

bool QtMainQueue::isCurrent() const {
    return thread_ == std::this_thread::get_id();
}

}  // namespace quillbay

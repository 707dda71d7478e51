#pragma once

#include <QObject>
#include <memory>

namespace quillbay {

/// Whether there is a place for an item in the menu bar or a tray, from now on. Main thread.
class TrayWatch : public QObject {
    Q_OBJECT

 public:
    using QObject::QObject;

    [[nodiscard]] virtual bool isAvailable() const = 0;

    /// This computer's. What it has to ask for over a bus is known a little later.
    static std::unique_ptr<TrayWatch> system();

 Q_SIGNALS:
    void changed();
};

}  // namespace quillbay

#pragma once

#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QString>

#include "ui/models/LogModel.h"

namespace quillbay {

/// The lines of a log that a person has selected to copy: a run of rows, from the one where it began to the
/// one where it ends now. It stays with its lines while others come and the oldest go; one whose lines have
/// all gone is none. Main thread.
class LogSelection : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(quillbay::LogModel* log READ log WRITE setLog NOTIFY logChanged)
    /// The topmost row and the lowest; -1 without any.
    Q_PROPERTY(int first READ first NOTIFY changed)
    Q_PROPERTY(int last READ last NOTIFY changed)

 public:
    using QObject::QObject;

    [[nodiscard]] LogModel* log() const { return log_; }
    void setLog(LogModel* log);
    [[nodiscard]] int first() const { return qMin(anchor_, end_); }
    [[nodiscard]] int last() const { return qMax(anchor_, end_); }
    /// The lines as they are shown, with a line feed between them.
    [[nodiscard]] QString text() const;

    // A row that the log does not have changes nothing.

    Q_INVOKABLE void begin(int row);
    /// From where it began to this row; begins there when there is none.
    Q_INVOKABLE void extend(int row);
    Q_INVOKABLE void selectAll();
    Q_INVOKABLE void clear();
    /// Puts the text where other programs can paste it from; nothing selected leaves what is there.
    Q_INVOKABLE void copy() const;

 Q_SIGNALS:
    void logChanged();
    void changed();

 private:
    void select(int anchor, int end);
    void rowsRemoved(int firstRow, int lastRow);

    QPointer<LogModel> log_;
    int anchor_ = -1;
    int end_ = -1;
};

}  // namespace quillbay

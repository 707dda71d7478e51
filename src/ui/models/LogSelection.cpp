#include "ui/models/LogSelection.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QStringList>

namespace quillbay {

void LogSelection::setLog(LogModel* log) {
    if (log == log_) return;
    if (log_ != nullptr) disconnect(log_, nullptr, this, nullptr);
    clear();
    log_ = log;
    if (log != nullptr)
        connect(log, &LogModel::rowsRemoved, this,
                [this](const QModelIndex& /*parent*/, int firstRow, int lastRow) {
                    rowsRemoved(firstRow, lastRow);
                });
    Q_EMIT logChanged();
}

QString LogSelection::text() const {
    QStringList lines;
    if (log_ == nullptr || anchor_ < 0) return {};
    for (int row = first(); row <= last(); ++row)
        lines += log_->data(log_->index(row), LogModel::LineRole).toString();
    return lines.join(u'\n');
}

void LogSelection::begin(int row) {
    if (log_ != nullptr && row >= 0 && row < log_->count()) select(row, row);
}

void LogSelection::extend(int row) {
    if (log_ != nullptr && row >= 0 && row < log_->count()) select(anchor_ < 0 ? row : anchor_, row);
}

void LogSelection::selectAll() {
    if (log_ != nullptr && log_->count() > 0) select(0, log_->count() - 1);
}

void LogSelection::clear() {
    select(-1, -1);
}

void LogSelection::copy() const {
    const QString selected = text();
    if (!selected.isEmpty()) QGuiApplication::clipboard()->setText(selected);
}

void LogSelection::select(int anchor, int end) {
    if (anchor == anchor_ && end == end_) return;
    anchor_ = anchor;
    end_ = end;
    Q_EMIT changed();
}

void LogSelection::rowsRemoved(int firstRow, int lastRow) {
    if (anchor_ < 0 || firstRow > last()) return;
    if (firstRow <= first() && lastRow >= last()) return clear();
    const int number = lastRow - firstRow + 1;
    // What is left of it moves up; an end that has gone is now at the nearest line that has not.
    const int top = first() < firstRow ? first() : qMax(first() - number, firstRow);
    const int bottom = last() > lastRow ? last() - number : firstRow - 1;
    if (anchor_ <= end_)
        select(top, bottom);
    else
        select(bottom, top);
}

}  // namespace quillbay

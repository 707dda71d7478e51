#pragma once

#include <QAbstractListModel>
#include <QQmlEngine>
#include <QString>
#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "ui/models/RowChanges.h"

namespace quillbay {

/// What the windows' lists have in common: rows keep their identity when others come or go, so that what
/// shows them keeps its place and its focus. Main thread.
///
/// A class that is one names it with the namespace: what Qt tells QML's tools of a class finds its base by
/// the name as it is written.
class RowsModel : public QAbstractListModel {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(int count READ count NOTIFY countChanged)

 public:
    using QAbstractListModel::QAbstractListModel;

    [[nodiscard]] int count() const { return rowCount(); }

 Q_SIGNALS:
    void countChanged();

 protected:
    /// The row whose key this is, the first of several; -1 without one.
    template <typename Row>
    static int rowWith(const std::vector<Row>& rows, QString Row::* key, const QString& wanted) {
        const auto found = std::ranges::find(rows, wanted, key);
        return found == rows.end() ? -1 : static_cast<int>(found - rows.begin());
    }
    /// Empty for a row that is not there.
    template <typename Row>
    static QString keyAt(const std::vector<Row>& rows, QString Row::* key, int row) {
        return row < 0 || row >= std::ssize(rows) ? QString() : rows[static_cast<std::size_t>(row)].*key;
    }

    /// Makes `rows`, which is all that the model shows, into `next`, and tells of no more than what changes.
    template <typename Row>
    void replaceRows(std::vector<Row>& rows, std::vector<Row> next, QString Row::* key) {
        const auto keysOf = [key](const std::vector<Row>& list) {
            std::vector<QString> keys(list.size());
            std::ranges::transform(list, keys.begin(), key);
            return keys;
        };
        const std::size_t former = rows.size();
        if (const auto changes = rowChanges(keysOf(rows), keysOf(next))) {
            removeAndInsert(rows, next, *changes);
            takeContents(rows, std::move(next));
        } else {
            beginResetModel();
            rows = std::move(next);
            endResetModel();
        }
        if (rows.size() != former) Q_EMIT countChanged();
    }

 private:
    template <typename Row>
    void removeAndInsert(std::vector<Row>& rows, const std::vector<Row>& next, const RowChanges& changes) {
        for (const RowRange& range : changes.removals) {
            beginRemoveRows({}, range.first, range.last);
            rows.erase(rows.begin() + range.first, rows.begin() + range.last + 1);
            endRemoveRows();
        }
        for (const RowRange& range : changes.insertions) {
            beginInsertRows({}, range.first, range.last);
            rows.insert(rows.begin() + range.first, next.begin() + range.first,
                        next.begin() + range.last + 1);
            endInsertRows();
        }
    }

    /// Of rows that are the same ones in the same order.
    template <typename Row>
    void takeContents(std::vector<Row>& rows, std::vector<Row> next) {
        for (std::size_t place = 0; place < rows.size(); ++place) {
            if (rows[place] == next[place]) continue;
            rows[place] = std::move(next[place]);
            const QModelIndex changed = index(static_cast<int>(place));
            Q_EMIT dataChanged(changed, changed);
        }
    }
};

}  // namespace quillbay

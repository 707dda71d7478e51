#include "ui/models/DiscoveryRowsModel.h"

#include <utility>

namespace quillbay {

void DiscoveryRowsModel::setRows(std::vector<DiscoveryRow> rows) {
    replaceRows(rows_, std::move(rows), &DiscoveryRow::rowID);
}

int DiscoveryRowsModel::rowOf(const QString& rowID) const {
    return rowWith(rows_, &DiscoveryRow::rowID, rowID);
}

QString DiscoveryRowsModel::rowIDAt(int row) const {
    return keyAt(rows_, &DiscoveryRow::rowID, row);
}

int DiscoveryRowsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant DiscoveryRowsModel::data(const QModelIndex& index, int role) const {
    if (index.row() < 0 || index.row() >= count()) return {};
    const DiscoveryRow& row = rows_[static_cast<std::size_t>(index.row())];
    switch (role) {
        case RowIDRole:
            return row.rowID;
        case Qt::DisplayRole:
        case TitleRole:
            return row.title;
        case CaptionRole:
            return row.caption;
        case DiscoveredEarlierRole:
            return row.discoveredEarlier;
        default:
            return {};
    }
}

QHash<int, QByteArray> DiscoveryRowsModel::roleNames() const {
    return {{RowIDRole, "rowID"},
            {TitleRole, "title"},
            {CaptionRole, "caption"},
            {DiscoveredEarlierRole, "discoveredEarlier"}};
}

}  // namespace quillbay

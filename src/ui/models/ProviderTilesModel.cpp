#include "ui/models/ProviderTilesModel.h"

#include <utility>

namespace quillbay {

void ProviderTilesModel::setTiles(std::vector<ProviderTileInfo> tiles) {
    replaceRows(tiles_, std::move(tiles), &ProviderTileInfo::tileID);
}

int ProviderTilesModel::rowOf(const QString& tileID) const {
    return rowWith(tiles_, &ProviderTileInfo::tileID, tileID);
}

QString ProviderTilesModel::tileIDAt(int row) const {
    return keyAt(tiles_, &ProviderTileInfo::tileID, row);
}

int ProviderTilesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(tiles_.size());
}

QVariant ProviderTilesModel::data(const QModelIndex& index, int role) const {
    if (index.row() < 0 || index.row() >= count()) return {};
    const ProviderTileInfo& tile = tiles_[static_cast<std::size_t>(index.row())];
    switch (role) {
        case TileIDRole:
            return tile.tileID;
        case Qt::DisplayRole:
        case LabelRole:
            return tile.label;
        case SymbolRole:
            return tile.symbol;
        default:
            return {};
    }
}

QHash<int, QByteArray> ProviderTilesModel::roleNames() const {
    return {{TileIDRole, "tileID"}, {LabelRole, "label"}, {SymbolRole, "symbol"}};
}

}  // namespace quillbay

#pragma once

#include <QQmlEngine>
#include <QString>
#include <vector>

#include "ui/models/RowsModel.h"

namespace quillbay {

/// One connector that can be chosen.
struct ProviderTileInfo {
    /// The provider's identifier, or "manual".
    QString tileID;
    QString label;
    /// The symbol's name.
    QString symbol;
    bool operator==(const ProviderTileInfo&) const = default;
};

/// The tiles of the add-device sheet: one for each installed provider, and "Manual IP" last. Main thread.
class ProviderTilesModel : public quillbay::RowsModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")

 public:
    /// Roles in QML: tileID, label, symbol.
    enum Role { TileIDRole = Qt::UserRole + 1, LabelRole, SymbolRole };

    using RowsModel::RowsModel;

    void setTiles(std::vector<ProviderTileInfo> tiles);
    [[nodiscard]] const std::vector<ProviderTileInfo>& tiles() const { return tiles_; }
    /// -1 without one.
    [[nodiscard]] Q_INVOKABLE int rowOf(const QString& tileID) const;
    [[nodiscard]] Q_INVOKABLE QString tileIDAt(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

 private:
    std::vector<ProviderTileInfo> tiles_;
};

}  // namespace quillbay

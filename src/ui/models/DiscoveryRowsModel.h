#pragma once

#include <QQmlEngine>
#include <QString>
#include <vector>

#include "ui/models/RowsModel.h"

namespace quillbay {

/// One phone that can be chosen.
struct DiscoveryRow {
    /// The service's host.
    QString rowID;
    QString title;
    /// Host and port, "Lenas-iPhone.local:49733".
    QString caption;
    /// Known from an earlier capture rather than seen now.
    bool discoveredEarlier = false;
    bool operator==(const DiscoveryRow&) const = default;
};

/// The phones of the add-device sheet. Main thread.
class DiscoveryRowsModel : public quillbay::RowsModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")

 public:
    /// Roles in QML: rowID, title, caption, discoveredEarlier.
    enum Role { RowIDRole = Qt::UserRole + 1, TitleRole, CaptionRole, DiscoveredEarlierRole };

    using RowsModel::RowsModel;

    void setRows(std::vector<DiscoveryRow> rows);
    [[nodiscard]] const std::vector<DiscoveryRow>& rows() const { return rows_; }
    /// -1 without one.
    [[nodiscard]] Q_INVOKABLE int rowOf(const QString& rowID) const;
    [[nodiscard]] Q_INVOKABLE QString rowIDAt(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

 private:
    std::vector<DiscoveryRow> rows_;
};

}  // namespace quillbay

#pragma once

#include <QQmlEngine>
#include <QString>
#include <vector>

#include "ui/models/RowsModel.h"

namespace quillbay {

/// One entry of the picker "Which device is this iPhone?".
struct PeerEntry {
    /// The peer's name; empty for the entry "Select".
    QString hostName;
    /// "lena-iphone (online)".
    QString label;
    /// `circle.fill` or `circle`; empty for "Select".
    QString symbol;
    bool online = false;
    bool operator==(const PeerEntry&) const = default;
};

/// "Select", then the peers of the chosen provider in its order. Main thread.
class PeersModel : public quillbay::RowsModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")

 public:
    /// Roles in QML: hostName, label, symbol, online.
    enum Role { HostNameRole = Qt::UserRole + 1, LabelRole, SymbolRole, OnlineRole };

    using RowsModel::RowsModel;

    void setEntries(std::vector<PeerEntry> entries);
    [[nodiscard]] const std::vector<PeerEntry>& entries() const { return entries_; }
    /// -1 without one.
    [[nodiscard]] Q_INVOKABLE int rowOf(const QString& hostName) const;
    [[nodiscard]] Q_INVOKABLE QString hostNameAt(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

 private:
    std::vector<PeerEntry> entries_;
};

}  // namespace quillbay

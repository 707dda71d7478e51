#include "ui/models/PeersModel.h"

#include <utility>

namespace quillbay {

void PeersModel::setEntries(std::vector<PeerEntry> entries) {
    replaceRows(entries_, std::move(entries), &PeerEntry::hostName);
}

int PeersModel::rowOf(const QString& hostName) const {
    return rowWith(entries_, &PeerEntry::hostName, hostName);
}

QString PeersModel::hostNameAt(int row) const {
    return keyAt(entries_, &PeerEntry::hostName, row);
}

int PeersModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(entries_.size());
}

QVariant PeersModel::data(const QModelIndex& index, int role) const {
    if (index.row() < 0 || index.row() >= count()) return {};
    const PeerEntry& entry = entries_[static_cast<std::size_t>(index.row())];
    switch (role) {
        case HostNameRole:
            return entry.hostName;
        case Qt::DisplayRole:
        case LabelRole:
            return entry.label;
        case SymbolRole:
            return entry.symbol;
        case OnlineRole:
            return entry.online;
        default:
            return {};
    }
}

QHash<int, QByteArray> PeersModel::roleNames() const {
    return {{HostNameRole, "hostName"}, {LabelRole, "label"}, {SymbolRole, "symbol"}, {OnlineRole, "online"}};
}

}  // namespace quillbay

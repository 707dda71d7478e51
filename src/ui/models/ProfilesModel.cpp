#include "ui/models/ProfilesModel.h"

#include <utility>

#include "ui/models/PortTexts.h"
#include "ui/models/ShownText.h"

namespace quillbay {

ProfilesModel::ProfilesModel(AppCoordinator& coordinator, QObject* parent)
    : RowsModel(parent),
      coordinator_(coordinator),
      rows_(currentRows()),
      published_(coordinator.published.add([this](const AppCoordinator::Published& part) {
          if (part == AppCoordinator::Published::profiles || part == AppCoordinator::Published::statuses)
              update();
      })) {}

std::vector<ProfilesModel::Row> ProfilesModel::currentRows() const {
    std::vector<Row> rows;
    rows.reserve(coordinator_.profiles().size());
    for (const DeviceProfile& profile : coordinator_.profiles()) {
        const std::string id = profile.id();
        StatusPresentation status = presentationOf(coordinator_.status(id));
        const bool running = isRunning(status.kind);
        rows.push_back({QString::fromStdString(id), shownLine(profile.displayName), std::move(status),
                        running, tunnelPortRangeText(profile)});
    }
    return rows;
}

void ProfilesModel::update() {
    replaceRows(rows_, currentRows(), &Row::profileID);
}

int ProfilesModel::rowOf(const QString& profileID) const {
    return rowWith(rows_, &Row::profileID, profileID);
}

QString ProfilesModel::profileIDAt(int row) const {
    return keyAt(rows_, &Row::profileID, row);
}

int ProfilesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant ProfilesModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= count()) return {};
    const Row& row = rows_[static_cast<std::size_t>(index.row())];
    switch (role) {
        case ProfileIDRole:
            return row.profileID;
        case DisplayNameRole:
            return row.displayName;
        case StatusRole:
            return QVariant::fromValue(row.status);
        case RunningRole:
            return row.running;
        case TunnelPortRangeRole:
            return row.tunnelPortRange;
        default:
            return {};
    }
}

QHash<int, QByteArray> ProfilesModel::roleNames() const {
    return {{ProfileIDRole, "profileID"},
            {DisplayNameRole, "displayName"},
            {StatusRole, "status"},
            {RunningRole, "running"},
            {TunnelPortRangeRole, "tunnelPortRange"}};
}

}  // namespace quillbay

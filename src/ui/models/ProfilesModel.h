#pragma once

#include <QQmlEngine>
#include <QString>
#include <vector>

#include "core/AppCoordinator.h"
#include "platform/Observers.h"
#include "ui/models/RowsModel.h"
#include "ui/models/Status.h"

namespace quillbay {

/// The saved devices, in the order of the profiles, each with its live status. A change of one status is a
/// change of one row.
///
/// Main thread. The coordinator must outlive it.
class ProfilesModel : public quillbay::RowsModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")

 public:
    enum Role {
        ProfileIDRole = Qt::UserRole + 1,  ///< profileID: QString
        DisplayNameRole,                   ///< displayName: QString
        StatusRole,                        ///< status: statusPresentation
        RunningRole,                       ///< running: bool; while it is, the device cannot be edited
        TunnelPortRangeRole,               ///< tunnelPortRange: QString, "55000–58000"
    };

    explicit ProfilesModel(AppCoordinator& coordinator, QObject* parent = nullptr);

    /// The row of the profile with this id; -1 without one.
    [[nodiscard]] Q_INVOKABLE int rowOf(const QString& profileID) const;
    /// Empty for a row that is not there.
    [[nodiscard]] Q_INVOKABLE QString profileIDAt(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

 private:
    struct Row {
        QString profileID;
        QString displayName;
        StatusPresentation status;
        bool running = false;
        QString tunnelPortRange;
        bool operator==(const Row&) const = default;
    };
    [[nodiscard]] std::vector<Row> currentRows() const;
    void update();

    AppCoordinator& coordinator_;
    std::vector<Row> rows_;
    Subscription published_;
};

}  // namespace quillbay

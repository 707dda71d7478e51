#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QTimer>
#include <string>
#include <string_view>
#include <vector>

#include "core/AppCoordinator.h"
#include "platform/Observers.h"
#include "platform/SettingsStore.h"
#include "ui/models/AddDeviceModel.h"
#include "ui/models/ProfileDetailModel.h"
#include "ui/models/RemovalModel.h"
#include "ui/models/RenameModel.h"
#include "ui/models/SharedModels.h"

namespace quillbay {

/// The main window: the list of devices, the one that is selected, and the sheets over them. The selection
/// and the sidebar's width are remembered from one run to the next.
///
/// Main thread; what it is made of must outlive it.
class MainWindowModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(quillbay::ProfilesModel* profiles READ profiles CONSTANT)
    Q_PROPERTY(quillbay::LogModel* log READ log CONSTANT)
    Q_PROPERTY(quillbay::UpdateModel* updates READ updates CONSTANT)
    Q_PROPERTY(quillbay::NoticesModel* notices READ notices CONSTANT)
    Q_PROPERTY(quillbay::AppActions* actions READ actions CONSTANT)
    Q_PROPERTY(quillbay::ProfileDetailModel* detail READ detail CONSTANT)
    Q_PROPERTY(quillbay::AddDeviceModel* addDevice READ addDevice CONSTANT)
    Q_PROPERTY(quillbay::RenameModel* rename READ rename CONSTANT)
    Q_PROPERTY(quillbay::RemovalModel* removal READ removal CONSTANT)

    /// The selected profile's id; empty for none. The profile exists. After a removal the next device is
    /// selected, or the one before when it was the last; after an edit that changes the id, the new one; a
    /// device that was just added is selected.
    Q_PROPERTY(QString selection READ selection WRITE setSelection NOTIFY selectionChanged)
    /// "Quillbay - v1.4.2 Build(128)".
    Q_PROPERTY(QString footer READ footer CONSTANT)
    Q_PROPERTY(bool logExpanded READ isLogExpanded WRITE setLogExpanded NOTIFY logExpandedChanged)
    /// In points; between the two bounds.
    Q_PROPERTY(double sidebarWidth READ sidebarWidth WRITE setSidebarWidth NOTIFY sidebarWidthChanged)

 public:
    static constexpr double defaultSidebarWidth = 248;
    static constexpr double minSidebarWidth = 208;
    static constexpr double maxSidebarWidth = 340;

    MainWindowModel(AppCoordinator& coordinator, SettingsStore& settings, const SharedModels& shared,
                    QObject* parent = nullptr);
    ~MainWindowModel() override;

    [[nodiscard]] ProfilesModel* profiles() const { return &shared_.profiles; }
    [[nodiscard]] LogModel* log() const { return &shared_.log; }
    [[nodiscard]] UpdateModel* updates() const { return &shared_.updates; }
    [[nodiscard]] NoticesModel* notices() const { return &shared_.notices; }
    [[nodiscard]] AppActions* actions() const { return &shared_.actions; }
    [[nodiscard]] ProfileDetailModel* detail() { return &detail_; }
    [[nodiscard]] AddDeviceModel* addDevice() { return &addDevice_; }
    [[nodiscard]] RenameModel* rename() { return &rename_; }
    [[nodiscard]] RemovalModel* removal() { return &removal_; }
    [[nodiscard]] QString selection() const { return selection_; }
    [[nodiscard]] QString footer() const;
    [[nodiscard]] bool isLogExpanded() const { return logExpanded_; }
    [[nodiscard]] double sidebarWidth() const { return sidebarWidth_; }

    /// An id without a profile selects none.
    void setSelection(const QString& profileID);
    void setLogExpanded(bool expanded);
    void setSidebarWidth(double width);

    // The divider: a drag from where it began, its end, and a double click.
    Q_INVOKABLE void dragSidebar(double startWidth, double distance);
    /// Remembers the width.
    Q_INVOKABLE void endSidebarDrag();
    Q_INVOKABLE void resetSidebarWidth();

    // What the rows and the header offer.
    Q_INVOKABLE void beginAdd();
    /// Nothing while the profile's bridge runs.
    Q_INVOKABLE void beginEdit(const QString& profileID);
    Q_INVOKABLE void beginRename(const QString& profileID);
    Q_INVOKABLE void askRemoval(const QString& profileID);
    /// For the selected profile, from the Danger Zone.
    Q_INVOKABLE void askRemovalOfSelected();

 Q_SIGNALS:
    void selectionChanged();
    void logExpandedChanged();
    void sidebarWidthChanged();

 private:
    void select(const QString& profileID);
    void followProfiles();
    void followSaved(const QString& profileID, const QString& formerProfileID);
    void rememberSelection();
    void remember(std::string_view key, const std::string& value);

    AppCoordinator& coordinator_;
    SettingsStore& settings_;
    SharedModels shared_;
    /// Made before the models below, so that it is told first: when the selected device goes, the next one is
    /// selected before the detail could show none.
    Subscription published_;
    ProfileDetailModel detail_;
    AddDeviceModel addDevice_;
    RenameModel rename_;
    RemovalModel removal_;
    /// Their order, also of those that have just gone.
    std::vector<QString> profileIDs_;
    QString selection_;
    /// The profile that was selected until it went, for the case that it comes back with another id.
    QString selectionThatWent_;
    bool logExpanded_ = false;
    double sidebarWidth_ = defaultSidebarWidth;
    QTimer rememberLater_;
};

}  // namespace quillbay

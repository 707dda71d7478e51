#include "ui/models/ProfilesModel.h"

#include <QAbstractItemModelTester>
#include <QPersistentModelIndex>
#include <QSignalSpy>
#include <fstream>

#include "ui/ModelFixture.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ProfilesModelTest : public ModelFixture {
 protected:
    ProfilesModelTest() {
        make();
        model = std::make_unique<ProfilesModel>(*coordinator);
        tester = std::make_unique<QAbstractItemModelTester>(
            model.get(), QAbstractItemModelTester::FailureReportingMode::Fatal);
        changed = std::make_unique<QSignalSpy>(model.get(), &ProfilesModel::dataChanged);
        reset = std::make_unique<QSignalSpy>(model.get(), &ProfilesModel::modelReset);
        counted = std::make_unique<QSignalSpy>(model.get(), &ProfilesModel::countChanged);
    }

    [[nodiscard]] QVariant data(int row, int role) const { return model->data(model->index(row), role); }
    [[nodiscard]] StatusPresentation statusAt(int row) const {
        return data(row, ProfilesModel::StatusRole).value<StatusPresentation>();
    }
    [[nodiscard]] bool runningAt(int row) const { return data(row, ProfilesModel::RunningRole).toBool(); }
    [[nodiscard]] std::vector<QString> names() const {
        std::vector<QString> all;
        for (int row = 0; row < model->rowCount(); ++row)
            all.push_back(data(row, ProfilesModel::DisplayNameRole).toString());
        return all;
    }
    /// The rows of which a change was told.
    [[nodiscard]] std::vector<int> changedRows() const {
        std::vector<int> rows;
        for (const auto& signal : *changed)
            for (int row = signal.at(0).toModelIndex().row(); row <= signal.at(1).toModelIndex().row(); ++row)
                rows.push_back(row);
        return rows;
    }
    void remove(const QString& id) { coordinator->deleteProfile(stored(id)); }

    std::unique_ptr<ProfilesModel> model;
    std::unique_ptr<QAbstractItemModelTester> tester;
    std::unique_ptr<QSignalSpy> changed;
    std::unique_ptr<QSignalSpy> reset;
    std::unique_ptr<QSignalSpy> counted;
};

TEST_F(ProfilesModelTest, has_a_row_for_each_profile_in_their_order) {
    EXPECT_EQ(model->count(), 0);
    save("lena");
    save("alan");
    save("mirel");
    EXPECT_THAT(names(), ElementsAre("lena", "alan", "mirel"));
    EXPECT_EQ(model->count(), 3);
    EXPECT_EQ(counted->count(), 3);
    const ProfilesModel later(*coordinator);
    EXPECT_EQ(later.count(), 3);
}

TEST_F(ProfilesModelTest, tells_its_roles_to_qml) {
    const QHash<int, QByteArray> roles = model->roleNames();
    EXPECT_EQ(roles.size(), 5);
    EXPECT_EQ(roles.value(ProfilesModel::ProfileIDRole), "profileID");
    EXPECT_EQ(roles.value(ProfilesModel::DisplayNameRole), "displayName");
    EXPECT_EQ(roles.value(ProfilesModel::StatusRole), "status");
    EXPECT_EQ(roles.value(ProfilesModel::RunningRole), "running");
    EXPECT_EQ(roles.value(ProfilesModel::TunnelPortRangeRole), "tunnelPortRange");
}

TEST_F(ProfilesModelTest, a_row_holds_id_name_and_range) {
    DeviceProfile mine = profile("lena", 49733);
    mine.tunnelPortRangeStart = 55000;
    mine.tunnelPortRangeEnd = 58000;
    save(mine);
    EXPECT_EQ(data(0, ProfilesModel::ProfileIDRole), "lena.local#tailscale");
    EXPECT_EQ(data(0, ProfilesModel::TunnelPortRangeRole), "55000\u201358000");
    EXPECT_EQ(data(0, Qt::DisplayRole), QVariant());
    EXPECT_EQ(model->data(model->index(1), ProfilesModel::DisplayNameRole), QVariant());
}

TEST_F(ProfilesModelTest, finds_a_row_and_its_id) {
    save("lena");
    save("alan");
    EXPECT_EQ(model->rowOf("alan.local#tailscale"), 1);
    EXPECT_EQ(model->rowOf("nobody"), -1);
    EXPECT_EQ(model->rowOf(""), -1);
    EXPECT_EQ(model->profileIDAt(0), "lena.local#tailscale");
    EXPECT_EQ(model->profileIDAt(2), "");
    EXPECT_EQ(model->profileIDAt(-1), "");
}

TEST_F(ProfilesModelTest, a_profile_without_a_status_is_off) {
    save("lena");
    EXPECT_EQ(statusAt(0).kind, status::Kind::Off);
    EXPECT_EQ(statusAt(0).text, "Off");
    EXPECT_FALSE(runningAt(0));
}

TEST_F(ProfilesModelTest, shows_a_bridge_that_starts_and_one_that_is_on_as_running) {
    save("alan");
    const QString id = saveAndBridge("lena");
    EXPECT_EQ(statusAt(1).text, "Bridge active");
    EXPECT_TRUE(runningAt(1));
    pair(id);
    EXPECT_EQ(statusAt(1).text, "Pairing\u2026");
    EXPECT_TRUE(runningAt(1));
    EXPECT_FALSE(runningAt(0));
}

TEST_F(ProfilesModelTest, a_bridge_that_failed_does_not_run) {
    fail(save("lena"));
    EXPECT_EQ(statusAt(0).text, "Error: Couldn't determine this Mac's network address.");
    EXPECT_FALSE(runningAt(0));
}

TEST_F(ProfilesModelTest, a_change_of_one_status_is_a_change_of_one_row) {
    save("lena");
    const QString id = save("alan");
    save("mirel");
    changed->clear();
    coordinator->start(stored(id));
    ASSERT_TRUE(until([&] { return kindOf(id) == BridgeStatus::Kind::pairing; }));
    EXPECT_THAT(changedRows(), ElementsAre(1));
    EXPECT_EQ(reset->count(), 0);
}

TEST_F(ProfilesModelTest, a_status_of_nobody_changes_nothing) {
    save("lena");
    changed->clear();
    coordinator->teardownBridge("nobody#", AppCoordinator::CloseAnnouncement::silent, std::nullopt);
    coordinator->teardownBridge("lena.local#tailscale", AppCoordinator::CloseAnnouncement::silent,
                                std::nullopt);
    EXPECT_THAT(changedRows(), IsEmpty());
}

TEST_F(ProfilesModelTest, a_new_name_is_a_change_of_one_row) {
    save("lena");
    const QString id = save("alan");
    changed->clear();
    DeviceProfile renamed = stored(id);
    renamed.displayName = "Alan's";
    save(renamed);
    EXPECT_THAT(changedRows(), ElementsAre(1));
    EXPECT_THAT(names(), ElementsAre("lena", "Alan's"));
}

TEST_F(ProfilesModelTest, rows_keep_their_identity_when_others_come_and_go) {
    const QString first = save("lena");
    const QString middle = save("alan");
    save("mirel");
    const QPersistentModelIndex last(model->index(2));
    remove(middle);
    EXPECT_EQ(last.row(), 1);
    remove(first);
    EXPECT_EQ(last.row(), 0);
    save("lena");
    EXPECT_EQ(last.row(), 0);
    EXPECT_THAT(names(), ElementsAre("mirel", "lena"));
    EXPECT_EQ(reset->count(), 0);
}

TEST_F(ProfilesModelTest, the_last_device_can_go) {
    remove(save("lena"));
    EXPECT_EQ(model->count(), 0);
    EXPECT_EQ(counted->count(), 2);
}

TEST_F(ProfilesModelTest, a_hostile_name_stays_on_its_line) {
    DeviceProfile mine = profile("lena", 49733);
    mine.displayName = "lena\nBridge active\u202e";
    save(mine);
    EXPECT_THAT(names(), ElementsAre("lena Bridge active\\u{202e}"));
}

TEST_F(ProfilesModelTest, shows_two_profiles_of_one_id) {
    DeviceProfile first = profile("lena", 49733);
    first.providerID = "";
    save(first);
    // As it can stand in a file that was edited by hand.
    const std::filesystem::path file = world.host.files.applicationSupport / "Quillbay" / "devices.json";
    std::ifstream in(file);
    const std::string list((std::istreambuf_iterator<char>(in)), {});
    const std::string one = list.substr(1, list.size() - 2);
    std::ofstream(file) << "[" << one << "," << one << "]";
    save("alan");
    EXPECT_THAT(names(), ElementsAre("lena", "lena", "alan"));
    EXPECT_EQ(reset->count(), 1);
    EXPECT_EQ(model->rowOf("lena.local#"), 0);
}

}  // namespace
}  // namespace quillbay

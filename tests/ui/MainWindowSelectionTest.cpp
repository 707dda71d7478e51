// Which device is selected: by the user, after a removal, after an edit, and in the next run.

#include <filesystem>

#include "ui/MainWindowFixture.h"

namespace quillbay {
namespace {

class MainWindowSelection : public MainWindowFixture {
 protected:
    MainWindowSelection() {
        lena = save("lena");
        alan = save("alan");
        mirel = save("mirel");
        open();
        changed = std::make_unique<QSignalSpy>(model.get(), &MainWindowModel::selectionChanged);
    }
    void choose(const QString& id) {
        model->setSelection(id);
        changed->clear();
    }
    /// What the sheet does with an edit that changes the connector.
    QString editToNetbird(const QString& id) {
        model->beginEdit(id);
        EXPECT_TRUE(model->addDevice()->isOpen());
        DeviceProfile edited = stored(id);
        remove(id);
        edited.providerID = "netbird";
        const QString edits = save(edited);
        Q_EMIT model->addDevice()->saved(edits, id);
        return edits;
    }

    QString lena, alan, mirel;
    std::unique_ptr<QSignalSpy> changed;
};

TEST_F(MainWindowSelection, is_none_at_first) {
    EXPECT_EQ(model->selection(), "");
    EXPECT_EQ(model->detail()->profileID(), "");
}

TEST_F(MainWindowSelection, is_what_the_user_selects) {
    model->setSelection(alan);
    EXPECT_EQ(model->selection(), alan);
    EXPECT_EQ(model->detail()->profileID(), alan);
    EXPECT_EQ(changed->count(), 1);
    model->setSelection(alan);
    EXPECT_EQ(changed->count(), 1);
}

TEST_F(MainWindowSelection, of_nobody_is_none) {
    choose(alan);
    model->setSelection("nobody#");
    EXPECT_EQ(model->selection(), "");
    EXPECT_EQ(model->detail()->profileID(), "");
}

TEST_F(MainWindowSelection, goes_to_the_next_device_when_the_first_is_removed) {
    choose(lena);
    remove(lena);
    EXPECT_EQ(model->selection(), alan);
    EXPECT_EQ(model->detail()->profileID(), alan);
    EXPECT_EQ(changed->count(), 1);
}

TEST_F(MainWindowSelection, goes_to_the_next_device_when_one_in_the_middle_is_removed) {
    choose(alan);
    remove(alan);
    EXPECT_EQ(model->selection(), mirel);
}

TEST_F(MainWindowSelection, goes_to_the_device_before_when_the_last_is_removed) {
    choose(mirel);
    remove(mirel);
    EXPECT_EQ(model->selection(), alan);
}

TEST_F(MainWindowSelection, is_none_when_the_only_device_is_removed) {
    remove(lena);
    remove(alan);
    choose(mirel);
    remove(mirel);
    EXPECT_EQ(model->selection(), "");
    EXPECT_EQ(model->detail()->profileID(), "");
    save("mirel");
    EXPECT_EQ(model->selection(), "");
}

TEST_F(MainWindowSelection, stays_when_another_device_is_removed) {
    choose(alan);
    remove(lena);
    remove(mirel);
    EXPECT_EQ(model->selection(), alan);
    EXPECT_EQ(changed->count(), 0);
}

TEST_F(MainWindowSelection, the_detail_never_shows_none_on_the_way_to_the_next_device) {
    choose(alan);
    QStringList shown;
    QObject::connect(model->detail(), &ProfileDetailModel::changed, model.get(),
                     [&] { shown.append(model->detail()->profileID()); });
    remove(alan);
    ASSERT_FALSE(shown.isEmpty());
    EXPECT_FALSE(shown.contains(""));
    EXPECT_EQ(shown.last(), mirel);
}

TEST_F(MainWindowSelection, follows_an_edit_that_changes_the_id) {
    choose(alan);
    const QString edited = editToNetbird(alan);
    EXPECT_EQ(edited, "alan.local#netbird");
    EXPECT_EQ(model->selection(), edited);
    EXPECT_EQ(model->detail()->connector(), "Netbird \u00b7 " + QString::fromStdString(world.phoneIP));
}

TEST_F(MainWindowSelection, follows_an_edit_of_the_only_device) {
    remove(lena);
    remove(alan);
    choose(mirel);
    const QString edited = editToNetbird(mirel);
    EXPECT_EQ(model->selection(), edited);
}

TEST_F(MainWindowSelection, stays_when_another_device_is_edited) {
    choose(lena);
    editToNetbird(alan);
    EXPECT_EQ(model->selection(), lena);
}

TEST_F(MainWindowSelection, stays_none_when_a_device_is_edited) {
    editToNetbird(alan);
    EXPECT_EQ(model->selection(), "");
}

TEST_F(MainWindowSelection, stays_when_an_edit_keeps_the_id) {
    choose(lena);
    save(stored(alan));
    Q_EMIT model->addDevice()->saved(alan, alan);
    EXPECT_EQ(model->selection(), lena);
}

TEST_F(MainWindowSelection, what_the_user_selects_after_a_removal_stays) {
    choose(alan);
    DeviceProfile edited = stored(alan);
    remove(alan);
    model->setSelection(lena);
    edited.providerID = "netbird";
    Q_EMIT model->addDevice()->saved(save(edited), alan);
    EXPECT_EQ(model->selection(), lena);
}

TEST_F(MainWindowSelection, goes_to_a_device_that_was_just_added) {
    choose(alan);
    const QString added = save("nora");
    EXPECT_EQ(model->selection(), alan);
    Q_EMIT model->addDevice()->saved(added, "");
    EXPECT_EQ(model->selection(), added);
}

TEST_F(MainWindowSelection, goes_to_a_device_that_was_added_after_a_removal) {
    choose(alan);
    remove(alan);
    const QString added = save("nora");
    Q_EMIT model->addDevice()->saved(added, "");
    EXPECT_EQ(model->selection(), added);
}

TEST_F(MainWindowSelection, passes_over_devices_that_went_at_the_same_time) {
    const std::filesystem::path file = world.host.files.applicationSupport / "Quillbay" / "devices.json";
    choose(lena);
    std::filesystem::remove(file);
    save("mirel");
    EXPECT_EQ(model->selection(), mirel);
    save("lena");
    save("alan");
    choose(alan);
    std::filesystem::remove(file);
    save("mirel");
    EXPECT_EQ(model->selection(), mirel);
}

TEST_F(MainWindowSelection, is_the_same_in_the_next_run) {
    model->setSelection(alan);
    reopen();
    EXPECT_EQ(model->selection(), alan);
    EXPECT_EQ(model->detail()->profileID(), alan);
}

TEST_F(MainWindowSelection, is_kept_a_moment_after_the_last_step_through_the_list) {
    for (const QString& id : {lena, alan, mirel})
        model->setSelection(id);
    EXPECT_EQ(settings.string("window.selection"), std::nullopt);
    ASSERT_TRUE(until([&] { return settings.string("window.selection").has_value(); }));
    EXPECT_EQ(settings.string("window.selection"), "mirel.local#tailscale");
}

TEST_F(MainWindowSelection, of_none_is_kept_too) {
    model->setSelection(alan);
    reopen();
    model->setSelection("");
    reopen();
    EXPECT_EQ(model->selection(), "");
}

TEST_F(MainWindowSelection, of_a_device_that_has_gone_is_none_in_the_next_run) {
    model->setSelection(alan);
    model.reset();
    remove(alan);
    open();
    EXPECT_EQ(model->selection(), "");
}

}  // namespace
}  // namespace quillbay

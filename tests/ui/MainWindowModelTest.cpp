#include <filesystem>
#include <fstream>
#include <limits>

#include "core/Version.h"
#include "ui/MainWindowFixture.h"

namespace quillbay {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

class MainWindowModelTest : public MainWindowFixture {
 protected:
    [[nodiscard]] std::filesystem::path settingsFile() const {
        return world.host.files.configuration / "Quillbay" / "settings.json";
    }
};

TEST_F(MainWindowModelTest, hands_out_what_the_windows_share) {
    open();
    EXPECT_EQ(model->profiles(), &shared->profiles);
    EXPECT_EQ(model->log(), &shared->log);
    EXPECT_EQ(model->updates(), &shared->updates);
    EXPECT_EQ(model->notices(), &shared->notices);
    EXPECT_EQ(model->actions(), &shared->actions);
}

TEST_F(MainWindowModelTest, adding_a_device_takes_the_place_of_another_question) {
    open();
    const QString id = save("lena");
    model->beginRename(id);
    model->beginAdd();
    EXPECT_FALSE(model->rename()->isOpen());
    EXPECT_TRUE(model->addDevice()->isOpen());
    model->addDevice()->cancel();
    model->askRemoval(id);
    model->beginAdd();
    EXPECT_FALSE(model->removal()->isOpen());
    EXPECT_TRUE(model->addDevice()->isOpen());
    EXPECT_THAT(coordinator->profiles(), testing::SizeIs(1));
}

TEST_F(MainWindowModelTest, the_footer_names_version_and_build) {
    open();
    EXPECT_THAT(model->footer().toStdString(),
                testing::MatchesRegex(R"(Quillbay - v[0-9]+\.[0-9]+\.[0-9]+ Build\([0-9]+\))"));
    EXPECT_EQ(model->footer().toStdString(), std::string("Quillbay - v") + applicationVersion() + " Build(" +
                                                 applicationBuildNumber() + ")");
}

TEST_F(MainWindowModelTest, the_log_is_expanded_and_collapsed) {
    open();
    EXPECT_FALSE(model->isLogExpanded());
    const QSignalSpy told(model.get(), &MainWindowModel::logExpandedChanged);
    model->setLogExpanded(true);
    model->setLogExpanded(true);
    EXPECT_TRUE(model->isLogExpanded());
    EXPECT_EQ(told.count(), 1);
}

// The sidebar.

TEST_F(MainWindowModelTest, the_sidebar_begins_at_its_default_width) {
    open();
    EXPECT_EQ(model->sidebarWidth(), 248);
}

TEST_F(MainWindowModelTest, the_sidebar_follows_a_drag_from_where_it_began) {
    open();
    const QSignalSpy told(model.get(), &MainWindowModel::sidebarWidthChanged);
    model->dragSidebar(248, 20);
    EXPECT_EQ(model->sidebarWidth(), 268);
    model->dragSidebar(248, 30.4);
    EXPECT_EQ(model->sidebarWidth(), 278) << "whole points";
    model->dragSidebar(248, 30.4);
    EXPECT_EQ(told.count(), 2);
}

TEST_F(MainWindowModelTest, the_sidebar_stays_between_its_bounds) {
    open();
    model->dragSidebar(248, -500);
    EXPECT_EQ(model->sidebarWidth(), 208);
    model->dragSidebar(248, 500);
    EXPECT_EQ(model->sidebarWidth(), 340);
    model->setSidebarWidth(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(model->sidebarWidth(), 340);
}

TEST_F(MainWindowModelTest, the_sidebar_has_its_width_in_the_next_run_once_the_drag_has_ended) {
    open();
    model->dragSidebar(248, 52);
    EXPECT_EQ(settings.string("window.sidebarWidth"), std::nullopt);
    model->endSidebarDrag();
    EXPECT_EQ(settings.string("window.sidebarWidth"), "300");
    reopen();
    EXPECT_EQ(model->sidebarWidth(), 300);
}

TEST_F(MainWindowModelTest, a_double_click_resets_the_sidebar) {
    open();
    model->dragSidebar(248, 52);
    model->endSidebarDrag();
    model->resetSidebarWidth();
    EXPECT_EQ(model->sidebarWidth(), 248);
    reopen();
    EXPECT_EQ(model->sidebarWidth(), 248);
}

TEST_F(MainWindowModelTest, a_width_that_makes_no_sense_is_not_taken_over) {
    for (const auto& [kept, width] : std::map<std::string, double>{
             {"9000", 340}, {"-1", 208}, {"nan", 248}, {"inf", 248}, {"wide", 248}, {"", 248}}) {
        settings.setString("window.sidebarWidth", kept);
        open();
        EXPECT_EQ(model->sidebarWidth(), width) << kept;
        model.reset();
    }
}

// Settings that cannot be written.

TEST_F(MainWindowModelTest, works_on_when_the_settings_cannot_be_kept_and_says_so_in_the_log) {
    std::filesystem::create_directories(settingsFile().parent_path());
    std::ofstream(settingsFile()) << "{ damaged";
    const QString id = save("lena");
    open();
    model->dragSidebar(248, 52);
    model->endSidebarDrag();
    EXPECT_EQ(model->sidebarWidth(), 300);
    model->setSelection(id);
    EXPECT_EQ(model->selection(), id);
    EXPECT_THAT(lines(), Contains(HasSubstr("The window's layout is not remembered: the settings in ")));
    model.reset();
    std::ifstream file(settingsFile());
    EXPECT_EQ(std::string((std::istreambuf_iterator<char>(file)), {}), "{ damaged");
    EXPECT_TRUE(userLines().empty());
}

TEST_F(MainWindowModelTest, what_is_kept_already_is_not_written_again) {
    open();
    model->dragSidebar(248, 52);
    model->endSidebarDrag();
    // Whoever writes puts another file in its place.
    std::filesystem::create_hard_link(settingsFile(), world.folder.path() / "kept.json");
    model->endSidebarDrag();
    EXPECT_EQ(std::filesystem::hard_link_count(settingsFile()), 2U);
    model->dragSidebar(248, 53);
    model->endSidebarDrag();
    EXPECT_EQ(std::filesystem::hard_link_count(settingsFile()), 1U);
}

// The sheets.

TEST_F(MainWindowModelTest, begins_to_add_a_device) {
    open();
    model->beginAdd();
    EXPECT_TRUE(model->addDevice()->isOpen());
    EXPECT_EQ(model->addDevice()->title(), "Add Device");
}

TEST_F(MainWindowModelTest, begins_to_edit_a_device_whose_bridge_is_off) {
    const QString id = save("lena");
    open();
    model->beginEdit(id);
    EXPECT_TRUE(model->addDevice()->isOpen());
    EXPECT_EQ(model->addDevice()->title(), "Edit Device");
    EXPECT_EQ(model->addDevice()->displayName(), "lena");
}

TEST_F(MainWindowModelTest, edits_a_device_whose_bridge_failed) {
    const QString id = save("lena");
    fail(id);
    open();
    model->beginEdit(id);
    EXPECT_TRUE(model->addDevice()->isOpen());
}

TEST_F(MainWindowModelTest, edits_no_device_while_its_bridge_runs) {
    const QString id = saveAndBridge("lena");
    open();
    model->beginEdit(id);
    EXPECT_FALSE(model->addDevice()->isOpen());
    pair(id);
    model->beginEdit(id);
    EXPECT_FALSE(model->addDevice()->isOpen());
    coordinator->stop(stored(id));
    model->beginEdit(id);
    EXPECT_TRUE(model->addDevice()->isOpen());
}

TEST_F(MainWindowModelTest, edits_no_device_that_is_not_there) {
    open();
    model->beginEdit("nobody#");
    model->beginRename("nobody#");
    model->askRemoval("nobody#");
    model->askRemovalOfSelected();
    EXPECT_FALSE(model->addDevice()->isOpen());
    EXPECT_FALSE(model->rename()->isOpen());
    EXPECT_FALSE(model->removal()->isOpen());
}

TEST_F(MainWindowModelTest, begins_to_rename_a_device) {
    const QString id = save("lena");
    open();
    model->beginRename(id);
    EXPECT_EQ(model->rename()->text(), "lena");
}

TEST_F(MainWindowModelTest, asks_before_a_removal_from_the_list) {
    const QString id = save("lena");
    open();
    model->askRemoval(id);
    EXPECT_EQ(model->removal()->title(), "Remove \"lena\"?");
    EXPECT_TRUE(model->removal()->message().endsWith("This can't be undone."));
}

TEST_F(MainWindowModelTest, asks_before_a_removal_from_the_danger_zone) {
    save("alan");
    const QString id = save("lena");
    open();
    model->setSelection(id);
    model->askRemovalOfSelected();
    EXPECT_EQ(model->removal()->title(), "Remove \"lena\"?");
    EXPECT_EQ(model->removal()->message(), "The profile and bridge settings will be permanently deleted.");
}

}  // namespace
}  // namespace quillbay

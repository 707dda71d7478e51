#include "ui/models/UpdateModel.h"

#include <QSignalSpy>

#include "ui/ModelFixture.h"
#include "ui/WindowFakes.h"
#include "update/UpdateCheckerFixture.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UpdateModelTest : public UpdateCheckerFixture {
 protected:
    void follow(const std::string& currentVersion) {
        make(currentVersion);
        model = std::make_unique<UpdateModel>(*checker, &desktop);
        changed = std::make_unique<QSignalSpy>(model.get(), &UpdateModel::changed);
    }
    void offer(const std::string& version) {
        answerVersion(version);
        check();
    }

    fakes::RecordingDesktop desktop;
    std::unique_ptr<UpdateModel> model;
    std::unique_ptr<QSignalSpy> changed;
};

TEST_F(UpdateModelTest, knows_of_nothing_before_the_first_check) {
    follow("1.4.2");
    EXPECT_FALSE(model->available());
    EXPECT_FALSE(model->upToDate());
    EXPECT_EQ(model->windowText(), "");
    EXPECT_EQ(model->panelText(), "");
    EXPECT_EQ(model->getText(), "");
    EXPECT_EQ(model->versionText(), "Version 1.4.2");
}

TEST_F(UpdateModelTest, words_a_newer_version_for_each_place) {
    follow("1.4.2");
    offer("1.5.0");
    EXPECT_TRUE(model->available());
    EXPECT_FALSE(model->upToDate());
    EXPECT_EQ(model->windowText(), "Quillbay 1.5.0 is available");
    EXPECT_EQ(model->panelText(), "Version 1.5.0 is available");
    EXPECT_EQ(model->getText(), "Get 1.5.0");
    EXPECT_EQ(model->versionText(), "Version 1.4.2");
    EXPECT_EQ(changed->count(), 1);
}

TEST_F(UpdateModelTest, is_up_to_date_when_a_check_found_nothing_newer) {
    follow("1.4.2");
    offer("1.4.2");
    EXPECT_TRUE(model->upToDate());
    EXPECT_FALSE(model->available());
    EXPECT_EQ(changed->count(), 1);
}

TEST_F(UpdateModelTest, a_notice_goes_when_the_version_is_withdrawn) {
    follow("1.4.2");
    offer("1.5.0");
    offer("1.4.2");
    EXPECT_FALSE(model->available());
    EXPECT_TRUE(model->upToDate());
    EXPECT_EQ(model->windowText(), "");
}

TEST_F(UpdateModelTest, a_check_that_failed_says_nothing) {
    follow("1.4.2");
    answer("not what was asked for");
    check();
    EXPECT_FALSE(model->upToDate());
    EXPECT_EQ(changed->count(), 0);
}

TEST_F(UpdateModelTest, opens_the_download_page_and_keeps_the_notice) {
    follow("1.4.2");
    offer("1.5.0");
    model->open();
    model->open();
    EXPECT_THAT(desktop.opened,
                ElementsAre("https://quillbay.example/1.5.0", "https://quillbay.example/1.5.0"));
    EXPECT_TRUE(model->available());
}

TEST_F(UpdateModelTest, opens_nothing_without_an_update) {
    follow("1.4.2");
    model->open();
    EXPECT_THAT(desktop.opened, IsEmpty());
}

TEST_F(UpdateModelTest, opens_nothing_without_a_desktop) {
    follow("1.4.2");
    offer("1.5.0");
    UpdateModel(*checker, nullptr).open();
    EXPECT_THAT(desktop.opened, IsEmpty());
}

TEST_F(UpdateModelTest, a_hostile_version_is_short_and_on_one_line) {
    follow("1.4.2");
    answer(R"({"version": "2.0.0\nQuillbay \u202e", "download_url": "https://quillbay.example/"})");
    check();
    EXPECT_EQ(model->getText(), "Get 2.0.0 Quillbay \\u{202e}");
    offer("2.0.0." + std::string(1000, '1'));
    EXPECT_EQ(model->getText(), "Get 2.0.0.1111111111111111111111111111111111\u2026");
}

TEST_F(UpdateModelTest, a_percent_sign_in_a_version_is_only_that) {
    follow("1.4.2");
    answer(R"({"version": "2.%1.0", "download_url": "https://quillbay.example/"})");
    check();
    EXPECT_EQ(model->windowText(), "Quillbay 2.%1.0 is available");
}

}  // namespace
}  // namespace quillbay

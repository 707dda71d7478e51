#include <QLocale>
#include <QSignalSpy>
#include <memory>

#include "ui/ModelFixture.h"
#include "ui/models/PortTexts.h"
#include "ui/models/ProfileDetailModel.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(PortTexts, group_numbers_by_commas) {
    EXPECT_EQ(probedPortsText(0, 16'384), "0 of 16,384 ports");
    EXPECT_EQ(probedPortsText(999, 1'000), "999 of 1,000 ports");
    EXPECT_EQ(probedPortsText(4'212, 1'234'567), "4,212 of 1,234,567 ports");
}

TEST(PortTexts, do_not_follow_the_locale) {
    const QLocale former;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ(probedPortsText(4'212, 16'384), "4,212 of 16,384 ports");
    DeviceProfile mine;
    mine.tunnelPortRangeStart = 55000;
    mine.tunnelPortRangeEnd = 58000;
    EXPECT_EQ(tunnelPortRangeText(mine), "55000\u201358000");
    QLocale::setDefault(former);
}

class ProfileScan : public ModelFixture {
 protected:
    ProfileScan() {
        make();
        model = std::make_unique<ProfileDetailModel>(*coordinator);
        told = std::make_unique<QSignalSpy>(model.get(), &ProfileDetailModel::scanChanged);
    }
    /// A scan of a phone that answers on no port, some of whose ports have been probed.
    QString begin(const std::string& name) {
        const QString id = save(name);
        model->show(id);
        model->scan();
        EXPECT_TRUE(until([&] { return model->scanFraction() > 0 || !model->scanning(); }));
        EXPECT_TRUE(model->scanning());
        return id;
    }
    void TearDown() override {
        tearDown();
        EXPECT_TRUE(untilQuiet());
    }
    void tearDown() {
        told.reset();
        model.reset();
    }

    std::unique_ptr<ProfileDetailModel> model;
    std::unique_ptr<QSignalSpy> told;
};

TEST_F(ProfileScan, begins_with_no_port_of_all) {
    model->show(save("lena"));
    EXPECT_FALSE(model->scanning());
    told->clear();
    model->scan();
    EXPECT_TRUE(model->scanning());
    EXPECT_EQ(model->scanFraction(), 0);
    EXPECT_EQ(model->scanText(), "0 of 16,384 ports");
    EXPECT_EQ(told->count(), 1);
}

TEST_F(ProfileScan, tells_how_far_it_is) {
    begin("lena");
    EXPECT_LT(model->scanFraction(), 1);
    EXPECT_NE(model->scanText(), "0 of 16,384 ports");
    EXPECT_TRUE(model->scanText().endsWith(" of 16,384 ports")) << model->scanText().toStdString();
}

TEST_F(ProfileScan, ends_with_its_result_in_the_log) {
    phone = std::make_unique<fakes::FakePhone>(world.phoneIP, fakes::FakePhone::Manner::answers);
    const QString id = save(profile("lena", phone->port()));
    model->show(id);
    model->scan();
    ASSERT_TRUE(until([&] { return !model->scanning(); }));
    EXPECT_EQ(model->scanText(), "");
    EXPECT_EQ(model->scanFraction(), 0);
    EXPECT_THAT(userLines(), ElementsAre("Port ping succeeded."));
}

TEST_F(ProfileScan, goes_on_while_another_device_is_shown) {
    const QString id = begin("lena");
    model->show(save("alan"));
    EXPECT_FALSE(model->scanning());
    EXPECT_EQ(model->scanText(), "");
    model->show(id);
    EXPECT_TRUE(model->scanning());
    EXPECT_GT(model->scanFraction(), 0);
}

TEST_F(ProfileScan, each_device_has_its_own) {
    const QString first = begin("lena");
    begin("alan");
    model->stopScan();
    EXPECT_FALSE(model->scanning());
    model->show(first);
    EXPECT_TRUE(model->scanning());
}

TEST_F(ProfileScan, can_be_stopped_at_once) {
    begin("lena");
    told->clear();
    model->stopScan();
    EXPECT_FALSE(model->scanning());
    EXPECT_EQ(model->scanText(), "");
    EXPECT_EQ(told->count(), 1);
    EXPECT_TRUE(untilQuiet());
    EXPECT_THAT(userLines(), IsEmpty()) << "a scan that was stopped has no result";
    EXPECT_EQ(told->count(), 1);
}

TEST_F(ProfileScan, can_be_begun_again_after_a_stop) {
    begin("lena");
    model->stopScan();
    model->scan();
    EXPECT_EQ(model->scanText(), "0 of 16,384 ports");
    turn();
    EXPECT_TRUE(model->scanning()) << "ended by the news of the first one's end";
}

TEST_F(ProfileScan, a_second_wish_does_not_begin_anew) {
    begin("lena");
    const QString text = model->scanText();
    model->scan();
    EXPECT_EQ(model->scanText(), text);
}

TEST_F(ProfileScan, ends_when_somebody_else_scans_the_same_device) {
    const QString id = begin("lena");
    const std::uint64_t theirs = coordinator->diagnose(stored(id));
    ASSERT_TRUE(until([&] { return !model->scanning(); }));
    coordinator->cancelDiagnose(id.toStdString(), theirs);
}

TEST_F(ProfileScan, stopping_leaves_the_scan_of_somebody_else_alone) {
    const QString id = begin("lena");
    // Told once more after this test, by the end of everything.
    const auto cancelled = std::make_shared<bool>(false);
    coordinator->diagnose(stored(id),
                          {.onProgress = {}, .onEnd = {}, .onCancelled = [cancelled] { *cancelled = true; }});
    model->stopScan();
    turn();
    EXPECT_FALSE(*cancelled);
    coordinator->cancelDiagnose(id.toStdString());
}

TEST_F(ProfileScan, ends_with_the_device) {
    const QString id = begin("lena");
    coordinator->deleteProfile(stored(id));
    EXPECT_FALSE(model->scanning());
    turn();
    model->show(save("lena"));
    EXPECT_FALSE(model->scanning());
}

TEST_F(ProfileScan, ends_with_the_model) {
    begin("lena");
    tearDown();
    EXPECT_TRUE(untilQuiet());
    EXPECT_THAT(userLines(), IsEmpty());
}

}  // namespace
}  // namespace quillbay

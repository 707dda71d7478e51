#include "ui/models/RemovalModel.h"

#include <QSignalSpy>

#include "ui/ModelFixture.h"

namespace quillbay {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;
using Origin = RemovalModel::Origin;

class RemovalModelTest : public ModelFixture {
 protected:
    RemovalModelTest() {
        make();
        model = std::make_unique<RemovalModel>(*coordinator);
    }

    std::unique_ptr<RemovalModel> model;
};

TEST_F(RemovalModelTest, asks_from_the_list_with_a_warning) {
    model->ask(save("Spare iPhone SE"), Origin::deviceList);
    EXPECT_TRUE(model->isOpen());
    EXPECT_EQ(model->title(), "Remove \"Spare iPhone SE\"?");
    EXPECT_EQ(model->message(),
              "The profile and bridge settings will be permanently deleted. This can't be undone.");
}

TEST_F(RemovalModelTest, asks_from_the_danger_zone_in_short) {
    model->ask(save("Spare iPhone SE"), Origin::dangerZone);
    EXPECT_EQ(model->title(), "Remove \"Spare iPhone SE\"?");
    EXPECT_EQ(model->message(), "The profile and bridge settings will be permanently deleted.");
}

TEST_F(RemovalModelTest, an_unknown_device_asks_nothing) {
    model->ask("nobody#", Origin::deviceList);
    EXPECT_FALSE(model->isOpen());
}

TEST_F(RemovalModelTest, confirming_removes_the_device_and_ends_its_bridge) {
    const QString id = saveAndBridge("lena");
    save("alan");
    model->ask(id, Origin::deviceList);
    model->confirm();
    EXPECT_FALSE(model->isOpen());
    ASSERT_THAT(coordinator->profiles(), SizeIs(1));
    EXPECT_EQ(coordinator->profiles()[0].displayName, "alan");
    EXPECT_EQ(kindOf(id), BridgeStatus::Kind::off);
    EXPECT_EQ(userLines().back(), "Bridge is closed \"lena\"");
}

TEST_F(RemovalModelTest, cancelling_removes_nothing) {
    model->ask(save("lena"), Origin::deviceList);
    model->cancel();
    EXPECT_FALSE(model->isOpen());
    model->confirm();
    EXPECT_THAT(coordinator->profiles(), SizeIs(1));
}

TEST_F(RemovalModelTest, the_texts_stay_while_the_question_goes) {
    model->ask(save("lena"), Origin::deviceList);
    model->confirm();
    EXPECT_EQ(model->title(), "Remove \"lena\"?");
}

TEST_F(RemovalModelTest, closes_when_the_device_goes) {
    const QString id = save("lena");
    const QString other = save("alan");
    model->ask(id, Origin::dangerZone);
    coordinator->deleteProfile(stored(other));
    EXPECT_TRUE(model->isOpen());
    coordinator->deleteProfile(stored(id));
    EXPECT_FALSE(model->isOpen());
    model->confirm();
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
}

TEST_F(RemovalModelTest, follows_a_new_name) {
    const QString id = save("lena");
    model->ask(id, Origin::deviceList);
    const QSignalSpy changed(model.get(), &RemovalModel::changed);
    DeviceProfile renamed = stored(id);
    renamed.displayName = "Lena\n\u202e";
    save(renamed);
    EXPECT_EQ(model->title(), "Remove \"Lena \\u{202e}\"?");
    save(renamed);
    EXPECT_EQ(changed.count(), 1);
}

}  // namespace
}  // namespace quillbay

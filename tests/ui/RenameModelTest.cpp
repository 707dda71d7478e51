#include "ui/models/RenameModel.h"

#include <QSignalSpy>

#include "ui/ModelFixture.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RenameModelTest : public ModelFixture {
 protected:
    RenameModelTest() {
        make();
        model = std::make_unique<RenameModel>(*coordinator);
        opened = std::make_unique<QSignalSpy>(model.get(), &RenameModel::openChanged);
    }

    std::unique_ptr<RenameModel> model;
    std::unique_ptr<QSignalSpy> opened;
};

TEST_F(RenameModelTest, opens_with_the_name) {
    model->begin(save("lena"));
    EXPECT_TRUE(model->isOpen());
    EXPECT_EQ(model->text(), "lena");
    EXPECT_TRUE(model->canSave());
    EXPECT_EQ(opened->count(), 1);
}

TEST_F(RenameModelTest, an_unknown_device_opens_nothing) {
    model->begin("nobody#");
    model->begin("");
    EXPECT_FALSE(model->isOpen());
    EXPECT_EQ(opened->count(), 0);
}

TEST_F(RenameModelTest, saves_the_trimmed_name_and_tells_the_user) {
    const QString id = save("lena");
    const DeviceProfile before = stored(id);
    model->begin(id);
    model->setText("  Lena's iPhone\t\n");
    model->save();
    EXPECT_FALSE(model->isOpen());
    DeviceProfile after = before;
    after.displayName = "Lena's iPhone";
    EXPECT_EQ(stored(id), after);
    EXPECT_THAT(userLines(), ElementsAre("Device \"Lena's iPhone\" updated."));
}

TEST_F(RenameModelTest, keeps_what_has_changed_in_the_profile_meanwhile) {
    const QString id = save("lena");
    model->begin(id);
    coordinator->setBridgeEnabled(true, id.toStdString());
    model->setText("Lena");
    model->save();
    EXPECT_EQ(stored(id).bridgeEnabled, true);
    EXPECT_EQ(stored(id).displayName, "Lena");
}

TEST_F(RenameModelTest, a_device_must_have_a_name) {
    const QString id = save("lena");
    model->begin(id);
    for (const char* text : {"", "   ", " \t\n"}) {
        model->setText(text);
        EXPECT_FALSE(model->canSave());
        model->save();
        EXPECT_TRUE(model->isOpen());
    }
    EXPECT_EQ(stored(id).displayName, "lena");
    model->setText("x");
    EXPECT_TRUE(model->canSave());
}

TEST_F(RenameModelTest, tells_each_change_of_the_text) {
    const QString id = save("lena");
    model->begin(id);
    const QSignalSpy texts(model.get(), &RenameModel::textChanged);
    model->setText("lena2");
    model->setText("lena2");
    EXPECT_EQ(texts.count(), 1);
}

TEST_F(RenameModelTest, cancelling_changes_nothing) {
    const QString id = save("lena");
    model->begin(id);
    model->setText("other");
    model->cancel();
    EXPECT_FALSE(model->isOpen());
    model->save();
    EXPECT_EQ(stored(id).displayName, "lena");
    EXPECT_THAT(userLines(), IsEmpty());
    model->begin(id);
    EXPECT_EQ(model->text(), "lena") << "of the last time";
}

TEST_F(RenameModelTest, closes_when_the_device_goes) {
    const QString id = save("lena");
    const QString other = save("alan");
    model->begin(id);
    coordinator->deleteProfile(stored(other));
    EXPECT_TRUE(model->isOpen());
    coordinator->deleteProfile(stored(id));
    EXPECT_FALSE(model->isOpen());
    EXPECT_EQ(opened->count(), 2);
    model->save();
    EXPECT_THAT(coordinator->profiles(), IsEmpty());
}

}  // namespace
}  // namespace quillbay

#include "ui/models/PanelModel.h"

#include <QSignalSpy>

#include "ui/ModelFixture.h"
#include "ui/SharedModelsForTests.h"

namespace quillbay {
namespace {

class PanelModelTest : public ModelFixture {
 protected:
    PanelModelTest() {
        make();
        windows = std::make_unique<SharedModelsForTests>(world.host, *coordinator);
        model = std::make_unique<PanelModel>(*coordinator, windows->models);
        changed = std::make_unique<QSignalSpy>(model.get(), &PanelModel::overallChanged);
    }

    std::unique_ptr<SharedModelsForTests> windows;
    std::unique_ptr<PanelModel> model;
    std::unique_ptr<QSignalSpy> changed;
};

TEST_F(PanelModelTest, hands_out_what_the_windows_share) {
    EXPECT_EQ(model->profiles(), &windows->profiles);
    EXPECT_EQ(model->log(), &windows->log);
    EXPECT_EQ(model->updates(), &windows->updates);
    EXPECT_EQ(model->actions(), &windows->actions);
}

TEST_F(PanelModelTest, is_off_without_a_device) {
    EXPECT_EQ(model->overall().kind, status::Kind::Off);
    EXPECT_EQ(model->overall().text, "Off");
    EXPECT_EQ(model->overall().symbol, "antenna.radiowaves.left.and.right.slash");
}

TEST_F(PanelModelTest, follows_the_bridges_as_one) {
    const QString failed = save("alan");
    fail(failed);
    EXPECT_EQ(model->overall().text, "Error: Couldn't determine this Mac's network address.");
    const QString paired = save("mirel");
    pair(paired);
    EXPECT_EQ(model->overall().text, "Pairing\u2026") << "pairing before error";
    const QString on = saveAndBridge("lena");
    EXPECT_EQ(model->overall().text, "Bridge active") << "on before pairing and error";
    for (const QString& id : {failed, paired, on})
        coordinator->stop(stored(id));
    EXPECT_EQ(model->overall().text, "Off");
}

TEST_F(PanelModelTest, tells_only_what_changes) {
    const QString id = save("lena");
    pair(id);
    const auto before = changed->count();
    EXPECT_EQ(before, 1);
    const QString other = save("alan");
    pair(other);
    EXPECT_EQ(changed->count(), before);
}

TEST_F(PanelModelTest, begins_with_what_holds) {
    fail(save("lena"));
    EXPECT_EQ(PanelModel(*coordinator, windows->models).overall().kind, status::Kind::Error);
}

}  // namespace
}  // namespace quillbay

#include "ui/models/NoticesModel.h"

#include <QSignalSpy>

#include "ui/ModelFixture.h"

namespace quillbay {
namespace {

class NoticesModelTest : public testing::Test {
 protected:
    NoticesModel model;
    QSignalSpy changed{&model, &NoticesModel::changed};
};

TEST_F(NoticesModelTest, shows_each_sentence_once_in_the_order_of_their_coming) {
    model.add("The home folder cannot be written.");
    model.add("There is no control socket.");
    model.add("The home folder cannot be written.");
    EXPECT_EQ(model.sentences(),
              QStringList({"The home folder cannot be written.", "There is no control socket."}));
    EXPECT_EQ(changed.count(), 2);
}

TEST_F(NoticesModelTest, a_sentence_that_is_no_longer_true_goes) {
    model.add("one");
    model.add("two");
    model.remove("one");
    model.remove("three");
    EXPECT_EQ(model.sentences(), QStringList("two"));
    EXPECT_EQ(changed.count(), 3);
}

TEST_F(NoticesModelTest, a_sentence_that_was_read_is_closed) {
    model.add("one");
    model.add("two");
    model.close(0);
    model.close(1);
    model.close(-1);
    EXPECT_EQ(model.sentences(), QStringList("two"));
    EXPECT_EQ(changed.count(), 3);
}

}  // namespace
}  // namespace quillbay

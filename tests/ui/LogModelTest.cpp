#include "ui/models/LogModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include "ui/ModelFixture.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LogModelTest : public ModelFixture {
 protected:
    LogModelTest() { make(); }

    void follow() {
        model = std::make_unique<LogModel>(coordinator->logs());
        tester = std::make_unique<QAbstractItemModelTester>(
            model.get(), QAbstractItemModelTester::FailureReportingMode::Fatal);
        inserted = std::make_unique<QSignalSpy>(model.get(), &LogModel::rowsInserted);
        removed = std::make_unique<QSignalSpy>(model.get(), &LogModel::rowsRemoved);
        changed = std::make_unique<QSignalSpy>(model.get(), &LogModel::changed);
    }
    void say(int from, int to) {
        for (int number = from; number <= to; ++number)
            coordinator->logs().user("line " + std::to_string(number));
    }
    [[nodiscard]] QString line(int row) const {
        return model->data(model->index(row), LogModel::LineRole).toString();
    }
    [[nodiscard]] std::vector<QString> lines() const {
        std::vector<QString> all;
        for (int row = 0; row < model->rowCount(); ++row)
            all.push_back(line(row));
        return all;
    }
    /// First and last row of the only signal.
    static std::pair<int, int> range(const QSignalSpy& spy) {
        EXPECT_EQ(spy.count(), 1);
        return {spy.at(0).at(1).toInt(), spy.at(0).at(2).toInt()};
    }

    std::unique_ptr<LogModel> model;
    std::unique_ptr<QAbstractItemModelTester> tester;
    std::unique_ptr<QSignalSpy> inserted;
    std::unique_ptr<QSignalSpy> removed;
    std::unique_ptr<QSignalSpy> changed;
};

TEST_F(LogModelTest, begins_with_the_lines_that_are_there) {
    say(1, 2);
    follow();
    EXPECT_THAT(lines(), ElementsAre("line 1", "line 2"));
    EXPECT_EQ(model->count(), 2);
    EXPECT_EQ(model->roleNames().value(LogModel::LineRole), "line");
}

TEST_F(LogModelTest, lines_of_one_turn_are_one_change) {
    follow();
    say(1, 5);
    EXPECT_THAT(lines(), IsEmpty()) << "told within the call";
    turn();
    EXPECT_THAT(lines(), ElementsAre("line 1", "line 2", "line 3", "line 4", "line 5"));
    EXPECT_EQ(range(*inserted), std::pair(0, 4));
    EXPECT_EQ(changed->count(), 1);
    say(6, 6);
    turn();
    EXPECT_EQ(inserted->count(), 2);
    EXPECT_EQ(inserted->at(1).at(1).toInt(), 5);
    EXPECT_EQ(removed->count(), 0);
}

TEST_F(LogModelTest, diagnostic_lines_are_not_shown) {
    follow();
    coordinator->logs().diagnostic("for the support team");
    turn();
    EXPECT_EQ(model->count(), 0);
}

TEST_F(LogModelTest, keeps_the_newest_two_hundred_lines) {
    say(1, 200);
    follow();
    say(201, 201);
    turn();
    EXPECT_EQ(model->count(), 200);
    EXPECT_EQ(line(0), "line 2");
    EXPECT_EQ(line(199), "line 201");
    EXPECT_EQ(range(*removed), std::pair(0, 0));
    EXPECT_EQ(range(*inserted), std::pair(199, 199));
}

TEST_F(LogModelTest, keeps_two_hundred_of_a_flood_in_one_turn) {
    say(1, 50);
    follow();
    say(51, 1000);
    turn();
    EXPECT_EQ(model->count(), 200);
    EXPECT_EQ(line(0), "line 801");
    EXPECT_EQ(line(199), "line 1000");
    EXPECT_EQ(range(*removed), std::pair(0, 49));
    EXPECT_EQ(range(*inserted), std::pair(0, 199));
}

TEST_F(LogModelTest, recent_lines_are_the_newest_three) {
    follow();
    EXPECT_EQ(model->recent(), QStringList());
    say(1, 2);
    turn();
    EXPECT_EQ(model->recent(), QStringList({"line 1", "line 2"}));
    say(3, 5);
    turn();
    EXPECT_EQ(model->recent(), QStringList({"line 3", "line 4", "line 5"}));
}

TEST_F(LogModelTest, clearing_takes_the_lines_away_from_the_windows_alone) {
    say(1, 3);
    follow();
    say(4, 4);
    model->clear();
    turn();
    EXPECT_EQ(model->count(), 0) << "also of what had just arrived";
    EXPECT_EQ(model->recent(), QStringList());
    EXPECT_EQ(range(*removed), std::pair(0, 2));
    EXPECT_EQ(changed->count(), 1);
    EXPECT_EQ(coordinator->logs().userLines().size(), 4U);
    EXPECT_TRUE(coordinator->logs().diagnosticLines().back().ends_with("USER  line 4"));
    say(5, 5);
    turn();
    EXPECT_THAT(lines(), ElementsAre("line 5"));
}

TEST_F(LogModelTest, clearing_nothing_changes_nothing) {
    follow();
    model->clear();
    EXPECT_EQ(changed->count(), 0);
}

TEST_F(LogModelTest, one_line_of_the_log_never_looks_like_two) {
    follow();
    coordinator->logs().user("Bridging to \"x\nBridge is successful.\"");
    turn();
    EXPECT_THAT(lines(), ElementsAre("Bridging to \"x Bridge is successful.\""));
}

TEST_F(LogModelTest, says_nothing_for_a_row_that_is_not_there) {
    say(1, 1);
    follow();
    EXPECT_EQ(model->data(model->index(1), LogModel::LineRole), QVariant());
    EXPECT_EQ(model->data(model->index(0), Qt::DisplayRole), QVariant());
}

TEST_F(LogModelTest, lines_after_its_end_reach_nobody) {
    follow();
    say(1, 1);
    tester.reset();
    model.reset();
    say(2, 2);
    turn();
    EXPECT_EQ(coordinator->logs().userLines().size(), 2U);
}

}  // namespace
}  // namespace quillbay

#include "ui/models/LogSelection.h"

#include <QSignalSpy>

#include "ui/ModelFixture.h"

namespace quillbay {
namespace {

class LogSelectionTest : public ModelFixture {
 protected:
    LogSelectionTest() {
        make();
        log = std::make_unique<LogModel>(coordinator->logs());
        selection.setLog(log.get());
    }
    void say(int from, int to) {
        for (int number = from; number <= to; ++number)
            coordinator->logs().user("line " + std::to_string(number));
        QCoreApplication::processEvents();
    }
    [[nodiscard]] std::pair<int, int> rows() const { return {selection.first(), selection.last()}; }

    std::unique_ptr<LogModel> log;
    LogSelection selection;
};

constexpr std::pair<int, int> none{-1, -1};

TEST_F(LogSelectionTest, begins_as_none) {
    say(1, 3);
    EXPECT_EQ(rows(), none);
    EXPECT_EQ(selection.text(), "");
}

TEST_F(LogSelectionTest, reaches_from_where_it_began_in_both_directions) {
    say(1, 9);
    selection.begin(4);
    EXPECT_EQ(selection.text(), "line 5");
    selection.extend(6);
    EXPECT_EQ(selection.text(), "line 5\nline 6\nline 7");
    selection.extend(3);
    EXPECT_EQ(selection.text(), "line 4\nline 5");
    selection.begin(0);
    EXPECT_EQ(selection.text(), "line 1");
    selection.clear();
    selection.extend(8);
    EXPECT_EQ(selection.text(), "line 9") << "nothing to extend";
}

TEST_F(LogSelectionTest, rows_that_the_log_does_not_have_change_nothing) {
    say(1, 3);
    selection.begin(1);
    selection.begin(3);
    selection.begin(-1);
    selection.extend(3);
    selection.extend(-1);
    EXPECT_EQ(rows(), std::pair(1, 1));
    log->clear();
    selection.selectAll();
    EXPECT_EQ(rows(), none);
}

TEST_F(LogSelectionTest, all_lines_are_those_that_are_there_now) {
    say(1, 3);
    selection.selectAll();
    say(4, 4);
    EXPECT_EQ(selection.text(), "line 1\nline 2\nline 3");
}

TEST_F(LogSelectionTest, stays_with_its_lines_when_the_oldest_fall_out) {
    say(1, AppLogStore::maxUserLines);
    selection.begin(12);
    selection.extend(10);
    const QSignalSpy changed(&selection, &LogSelection::changed);
    say(201, 205);
    EXPECT_EQ(rows(), std::pair(5, 7));
    EXPECT_EQ(selection.text(), "line 11\nline 12\nline 13");
    EXPECT_EQ(changed.count(), 1);
    selection.extend(8);
    EXPECT_EQ(selection.text(), "line 13\nline 14") << "from where it began";
    say(206, 213);
    EXPECT_EQ(selection.text(), "line 14") << "the first of its lines has gone";
    say(214, 214);
    EXPECT_EQ(rows(), none);
}

TEST_F(LogSelectionTest, goes_when_the_log_is_cleared_or_is_another) {
    say(1, 3);
    selection.selectAll();
    log->clear();
    EXPECT_EQ(rows(), none);
    say(4, 5);
    selection.selectAll();
    selection.setLog(nullptr);
    EXPECT_EQ(rows(), none);
}

TEST_F(LogSelectionTest, may_outlive_its_log) {
    say(1, 3);
    selection.selectAll();
    log.reset();
    EXPECT_EQ(selection.text(), "");
    selection.copy();
}

}  // namespace
}  // namespace quillbay

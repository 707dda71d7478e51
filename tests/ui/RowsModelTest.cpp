#include "ui/models/RowsModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <random>

#include "ui/models/DiscoveryRowsModel.h"
#include "ui/models/PeersModel.h"
#include "ui/models/ProviderTilesModel.h"

namespace quillbay {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<QString> keys(const char* letters) {
    std::vector<QString> all;
    for (const char* letter = letters; *letter != '\0'; ++letter)
        all.push_back(QString(QChar(*letter)));
    return all;
}

TEST(RowChangesTest, are_the_removals_from_the_back_and_then_the_insertions) {
    const auto changes = rowChanges(keys("abcdef"), keys("aXcYZ"));
    ASSERT_TRUE(changes);
    EXPECT_THAT(changes->removals, ElementsAre(RowRange{3, 5}, RowRange{1, 1}));
    EXPECT_THAT(changes->insertions, ElementsAre(RowRange{1, 1}, RowRange{3, 4}));
}

TEST(RowChangesTest, are_none_between_equal_lists) {
    const auto changes = rowChanges(keys("abc"), keys("abc"));
    ASSERT_TRUE(changes);
    EXPECT_THAT(changes->removals, IsEmpty());
    EXPECT_THAT(changes->insertions, IsEmpty());
    EXPECT_TRUE(rowChanges(keys(""), keys("")));
}

TEST(RowChangesTest, there_is_no_short_way_to_another_order_or_with_a_key_twice) {
    EXPECT_FALSE(rowChanges(keys("ab"), keys("ba")));
    EXPECT_FALSE(rowChanges(keys("aa"), keys("a")));
    EXPECT_FALSE(rowChanges(keys("a"), keys("aba")));
}

TEST(RowChangesTest, there_is_no_short_way_when_many_places_change) {
    std::vector<QString> before;
    std::vector<QString> after;
    for (int i = 0; i < 200; ++i) {
        before.push_back(QString::number(i));
        if (i % 2 == 0) after.push_back(QString::number(i));
    }
    EXPECT_FALSE(rowChanges(before, after));
}

PeerEntry peer(const QString& name, bool online = false) {
    return {name, name + (online ? " (online)" : " (offline)"), online ? "circle.fill" : "circle", online};
}

TEST(RowsModelTest, tells_of_no_more_than_what_changes) {
    PeersModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setEntries({peer("a"), peer("b"), peer("c")});
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    QSignalSpy counted(&model, &PeersModel::countChanged);

    model.setEntries({peer("a"), peer("b", true), peer("d"), peer("e")});
    EXPECT_EQ(removed.size(), 1);
    EXPECT_EQ(inserted.size(), 1);
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed.front().front().toModelIndex().row(), 1);
    EXPECT_EQ(counted.size(), 1);

    model.setEntries({peer("a"), peer("b", true), peer("d"), peer("e")});
    EXPECT_EQ(removed.size() + inserted.size() + changed.size() + reset.size() + counted.size(), 4);
}

TEST(RowsModelTest, a_selection_stays_with_its_row_when_others_come_and_go) {
    PeersModel model;
    model.setEntries({peer("a"), peer("b"), peer("c")});
    const QPersistentModelIndex chosen(model.index(1));
    model.setEntries({peer("0"), peer("1"), peer("b"), peer("z")});
    EXPECT_EQ(chosen.row(), 2);
    EXPECT_EQ(chosen.data(PeersModel::HostNameRole), "b");
    model.setEntries({peer("z")});
    EXPECT_FALSE(chosen.isValid());
}

TEST(RowsModelTest, always_ends_with_the_rows_that_were_given) {
    std::mt19937 random(20'240'607);
    PeersModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    for (int round = 0; round < 2'000; ++round) {
        std::vector<PeerEntry> next;
        for (char name = 'a'; name <= 'l'; ++name)
            if (random() % 3 != 0) next.push_back(peer(QString(QChar(name)), random() % 2 == 0));
        if (random() % 10 == 0) std::ranges::shuffle(next, random);
        if (random() % 10 == 0 && !next.empty()) next.push_back(next.front());
        model.setEntries(next);
        ASSERT_EQ(model.entries(), next);
        ASSERT_EQ(model.count(), model.rowCount());
    }
}

TEST(RowsModelTest, has_a_name_in_QML_for_each_role) {
    DiscoveryRowsModel phones;
    phones.setRows({{"lena.local", "Lena", "lena.local:1", true}});
    ProviderTilesModel tiles;
    tiles.setTiles({{"manual", "Manual IP", "keyboard"}});
    PeersModel peers;
    peers.setEntries({peer("lena", true)});
    const auto shown = [](const QAbstractItemModel& model) {
        QVariantMap values;
        const auto names = model.roleNames();
        for (auto role = names.begin(); role != names.end(); ++role)
            values[role.value()] = model.index(0, 0).data(role.key());
        return values;
    };
    EXPECT_EQ(shown(phones), (QVariantMap{{"rowID", "lena.local"},
                                          {"title", "Lena"},
                                          {"caption", "lena.local:1"},
                                          {"discoveredEarlier", true}}));
    EXPECT_EQ(shown(tiles),
              (QVariantMap{{"tileID", "manual"}, {"label", "Manual IP"}, {"symbol", "keyboard"}}));
    EXPECT_EQ(
        shown(peers),
        (QVariantMap{
            {"hostName", "lena"}, {"label", "lena (online)"}, {"symbol", "circle.fill"}, {"online", true}}));
    EXPECT_EQ(phones.index(0).data(Qt::DisplayRole), "Lena");
    EXPECT_FALSE(phones.index(0).data(Qt::DecorationRole).isValid());
    EXPECT_FALSE(phones.data({}, DiscoveryRowsModel::TitleRole).isValid());
}

TEST(RowsModelTest, finds_rows_by_their_keys_and_keys_by_their_rows) {
    PeersModel model;
    model.setEntries({peer(""), peer("a"), peer("b"), peer("b")});
    EXPECT_EQ(model.rowOf("b"), 2);
    EXPECT_EQ(model.rowOf(""), 0);
    EXPECT_EQ(model.rowOf("B"), -1);
    EXPECT_EQ(model.hostNameAt(1), "a");
    EXPECT_EQ(model.hostNameAt(-1), "");
    EXPECT_EQ(model.hostNameAt(4), "");
}

TEST(RowsModelTest, takes_five_thousand_rows_in_a_moment) {
    std::vector<PeerEntry> all;
    std::vector<PeerEntry> every3rd;
    for (int i = 0; i < 5'000; ++i) {
        all.push_back(peer("peer-" + QString::number(i)));
        if (i % 3 == 0) every3rd.push_back(all.back());
    }
    PeersModel model;
    QElapsedTimer timer;
    timer.start();
    model.setEntries(all);
    model.setEntries(every3rd);
    model.setEntries(all);
    EXPECT_LT(timer.elapsed(), 1'000);
}

}  // namespace
}  // namespace quillbay

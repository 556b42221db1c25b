#include "desk/axes.h"
#include "desk/picturetaker.h"
#include "desk/pricetape.h"
#include "desk/recorder.h"
#include "desk/rowsmodel.h"
#include "desk/rowsview.h"
#include "desk/stage.h"
#include "linkage/core/clinkagemanager.h"
#include "platform/utils/clock.h"
#include "tests/desk/deskfixture.h"

#include <QFile>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using desk::CRowsModel;
using desk::Row;

TEST(DeskAxes, LunchTakesNoRoomInASessionAndTimeIsPlainOutside) {
    const desk::CTimeAxis session(9 * 60 + 31, 14 * 60 + 57);
    EXPECT_TRUE(session.isSession());
    EXPECT_EQ(session.place(9 * 60), 0.0);
    EXPECT_EQ(session.place(15 * 60), 1.0);
    EXPECT_EQ(session.place(11 * 60 + 30), session.place(13 * 60));
    EXPECT_NEAR(session.place(13 * 60), 135.0 / 255.0, 1e-12);

    const desk::CTimeAxis late(9 * 60 + 10, 15 * 60 + 40);
    EXPECT_TRUE(late.isSession()) << "reports come before the open and after the close";
    EXPECT_EQ(late.place(15 * 60 + 40), 1.0);

    const desk::CTimeAxis night(22 * 60 + 10, 22 * 60 + 20);
    EXPECT_FALSE(night.isSession());
    EXPECT_EQ(night.first(), 22 * 60);
    EXPECT_EQ(night.last(), 23 * 60) << "never less than an hour";
    EXPECT_NEAR(night.place(22 * 60 + 15), 0.25, 1e-12);
    EXPECT_TRUE(desk::CTimeAxis(1440, 0).isSession()) << "a day without data";

    for (const int most : {2, 4, 9, 30}) EXPECT_LE(int(session.marks(most).size()), most);
    for (const int mark : session.marks(30)) EXPECT_FALSE(mark > 690 && mark <= 780) << mark;
}

TEST(DeskAxes, ValueStepsAreRoundAndHoldTheData) {
    struct Case {
        double least, most, finest, step;
    } const cases[] = {{9.9, 10.3, 0.01, 0.1},
                       {1661.0, 1890.0, 0.01, 100.0},
                       {-1200.0, 5300.0, 1.0, 2000.0},
                       {10.0, 10.0, 0.01, 0.01},
                       {0.0, 0.0, 1.0, 1.0}};
    for (const auto& [least, most, finest, step] : cases) {
        const desk::ValueAxis axis = desk::ValueAxis::over(least, most, 5, finest);
        EXPECT_NEAR(axis.step, step, step * 1e-9) << least << " to " << most;
        EXPECT_LT(axis.low, least);
        EXPECT_GT(axis.high, most);
        EXPECT_FALSE(axis.marks().empty());
        for (const double mark : axis.marks()) {
            EXPECT_GE(axis.place(mark), 0.0);
            EXPECT_LE(axis.place(mark), 1.0);
        }
    }
}

std::vector<Row> rowsOf(std::initializer_list<std::pair<const char*, int>> rows) {
    std::vector<Row> made;
    for (const auto& [key, value] : rows) made.push_back({key, {QString(key), value}, false});
    return made;
}

TEST(DeskRows, OnlyWhatChangedIsTouched) {
    qRegisterMetaType<QList<QPersistentModelIndex>>("QList<QPersistentModelIndex>");
    qRegisterMetaType<QAbstractItemModel::LayoutChangeHint>("QAbstractItemModel::LayoutChangeHint");
    CRowsModel model({{"Key"}, {"Value", desk::EFormat::Count}});
    QSignalSpy inserted(&model, &CRowsModel::rowsInserted);
    QSignalSpy removed(&model, &CRowsModel::rowsRemoved);
    QSignalSpy arranged(&model, &CRowsModel::layoutChanged);
    QSignalSpy changed(&model, &CRowsModel::dataChanged);
    QSignalSpy reset(&model, &CRowsModel::modelReset);
    const auto counts = [&] {
        const std::vector<int> now = {inserted.count(), removed.count(), arranged.count(),
                                      changed.count(), reset.count()};
        for (QSignalSpy* spy : {&inserted, &removed, &arranged, &changed, &reset}) spy->clear();
        return now;
    };
    struct Case {
        const char* name;
        std::initializer_list<std::pair<const char*, int>> rows;
        std::vector<int> signalled;  // inserted, removed, arranged, changed, reset
    } const cases[] = {
        {"first", {{"a", 1}, {"b", 2}, {"c", 3}}, {1, 0, 0, 0, 0}},
        {"the same", {{"a", 1}, {"b", 2}, {"c", 3}}, {0, 0, 0, 0, 0}},
        {"one value", {{"a", 1}, {"b", 5}, {"c", 3}}, {0, 0, 0, 1, 0}},
        {"a row between", {{"a", 1}, {"x", 9}, {"b", 5}, {"c", 3}}, {1, 0, 0, 0, 0}},
        {"order", {{"c", 3}, {"a", 1}, {"x", 9}, {"b", 5}}, {0, 0, 1, 0, 0}},
        {"two gone together", {{"c", 3}, {"b", 5}}, {0, 1, 0, 0, 0}},
        {"moved and changed", {{"b", 6}, {"c", 3}}, {0, 0, 1, 1, 0}},
        {"a key twice", {{"b", 6}, {"c", 3}, {"b", 7}}, {1, 0, 0, 0, 0}},
        {"still, and between", {{"b", 6}, {"b", 7}, {"c", 3}}, {0, 0, 1, 0, 0}},
        {"once again", {{"c", 3}, {"b", 7}}, {0, 1, 1, 1, 0}},
        {"nothing left", {}, {0, 1, 0, 0, 0}},
    };
    for (const auto& [name, rows, signalled] : cases) {
        model.setRows(rowsOf(rows));
        EXPECT_EQ(counts(), signalled) << name;
        int index = 0;
        for (const auto& [key, value] : rows) {
            EXPECT_EQ(model.index(index, 0).data().toString(), QString(key)) << name;
            EXPECT_EQ(model.index(index++, 1).data(CRowsModel::ROLE_VALUE).toInt(), value) << name;
        }
        EXPECT_EQ(model.rowCount(), index) << name;
    }
}

TEST(DeskRows, CellsAreWrittenAsTheirColumnSays) {
    using desk::EFormat;
    struct Case {
        QVariant value;
        EFormat format;
        const char* text;
    } const cases[] = {
        {1234567, EFormat::Count, "1,234,567"}, {-1234.5, EFormat::Money, "-1,234.50"},
        {99.0, EFormat::Profit, "+99.00"},      {-0.5, EFormat::Profit, "-0.50"},
        {"145005", EFormat::Time, "14:50:05"},  {"soon", EFormat::Time, "soon"},
        {true, EFormat::Side, "Buy"},           {QVariant(), EFormat::Money, ""},
        {qInf(), EFormat::Money, "--"},         {qInf(), EFormat::Price, "--"},
        {10.005, EFormat::Price, "10.005"},     {10.01, EFormat::Price, "10.01"},
        {9.9996, EFormat::Price, "10.00"},      {1234.5, EFormat::Price, "1,234.50"},
        {-0.0001, EFormat::Price, "0.00"},      {-1.005, EFormat::Price, "-1.005"}};
    for (const auto& [value, format, text] : cases)
        EXPECT_EQ(desk::formatted(value, format), QString(text));
}

TEST(DeskRows, ASortedTableStaysSortedByGroupsAndItsCurrentRowInSight) {
    desk::CRowsView table({{"Key"}, {"Value", desk::EFormat::Price}},
                          desk::CRowsView::ESorting::ByUser);
    const auto set = [&table](const std::vector<std::pair<QString, QVariant>>& cells) {
        std::vector<Row> rows;
        for (const auto& [key, value] : cells)
            rows.push_back({key, {key, value}, key.size() == 1, key.left(1)});
        table.rows().setRows(rows);
    };
    const auto order = [&table] {
        QStringList keys;
        for (int row = 0; row < table.model()->rowCount(); ++row)
            keys << table.model()->index(row, 0).data().toString();
        return keys.join(' ');
    };
    set({{"A", 1}, {"A1", 10.5}, {"A2", 9.0}, {"B", 2}, {"B1", 7}, {"B2", "market"}});
    EXPECT_EQ(order(), "A A1 A2 B B1 B2");
    table.sortByColumn(1, Qt::AscendingOrder);
    EXPECT_EQ(order(), "A A2 A1 B B1 B2") << "words behind numbers";
    table.sortByColumn(1, Qt::DescendingOrder);
    EXPECT_EQ(order(), "B B2 B1 A A1 A2") << "headings above their rows";
    table.show();
    table.resize(300, table.heightOf(3));
    table.chooseKey("B1");
    QSignalSpy chosen(&table, &desk::CRowsView::sigChosen);
    set({{"A", 3}, {"A1", 8}, {"A2", 9}, {"B", 2}, {"B1", 7}, {"B2", "market"}});
    EXPECT_EQ(order(), "A A2 A1 B B2 B1");
    EXPECT_EQ(table.currentKey(), "B1");
    EXPECT_TRUE(table.viewport()->rect().contains(table.visualRect(table.currentIndex())));
    table.scrollToTop();
    set({{"A", 4}, {"A1", 8}, {"A2", 9}, {"B", 2}, {"B1", 7}, {"B2", "market"}});
    EXPECT_EQ(table.verticalScrollBar()->value(), 0) << "who looks elsewhere is left there";
    EXPECT_EQ(chosen.count(), 0);
    set({{"B", 2}, {"B1", 7}, {"A", 4}});
    EXPECT_EQ(order(), "A B B1") << "fewer rows, and in another order";
    EXPECT_EQ(table.currentKey(), "B1");
}

TEST(DeskRows, NarrowTablesScrollAndShowWholeRows) {
    desk::CRowsView table({{"Key"}, {"Value", desk::EFormat::Count}, {"Remark"}},
                          desk::CRowsView::ESorting::Off);
    std::vector<Row> rows;
    for (int i = 0; i < 50; ++i) rows.push_back({QString::number(i), {"k", 1234567, "long text"}});
    table.rows().setRows(rows);
    table.show();
    for (int cut = 0; cut < 25; ++cut) {
        table.resize(table.neededWidth(true) - 4 * cut, table.heightOf(5) + cut);
        EXPECT_EQ(table.horizontalScrollBar()->maximum() > 0, cut > 0) << cut;
        EXPECT_FALSE(table.isColumnHidden(2));
        EXPECT_EQ(table.viewport()->height() % table.rowHeight(0), 0) << cut;
        EXPECT_GE(table.viewport()->height(), 3 * table.rowHeight(0)) << cut;
    }
    table.setColumnHidden(1, true);
    EXPECT_EQ(table.csv().left(25), "Key,Remark\nk,long text\nk,") << "as it is shown";
}

TEST(DeskPicture, OnlyTimesAreMinutes) {
    const std::pair<const char*, int> cases[] = {{"093001", 570}, {"235959", 1439}, {"000000", 0}};
    for (const auto& [time, minute] : cases) EXPECT_EQ(desk::minuteOf(time), minute) << time;
    for (const char* time : {"", "0", "9:30:01", "240000", "096001", "noon!!", "0930011"})
        EXPECT_FALSE(desk::minuteOf(time)) << time;
}

class DeskStage : public testing::Test {
protected:
    std::unique_ptr<desk::IStage> stage(const char* text, const char* haltAt = "") {
        QFile file(m_dir.filePath("s.jsonl"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        file.close();
        return desk::makeScenarioStage(file.fileName(), m_dir.filePath("data"), haltAt, m_tape,
                                       m_witness, m_recorder);
    }

    /// Steps until the stage has used `seconds`, which a slow machine may do in parts.
    static void pass(desk::IStage& stage, double seconds) {
        const double until = utils::clock() + seconds;
        for (double left = seconds; left > 1e-6 && !stage.ended(); left = until - utils::clock())
            stage.step(static_cast<std::int64_t>(left * 1e6 + 0.5));
    }

    QTemporaryDir m_dir;
    desk::CPriceTape m_tape;
    desk::CDayWitness m_witness;
    desk::CRecorder m_recorder{m_witness};
};

TEST_F(DeskStage, TimePassesAsItIsToldAndEventsHappenOnTheWay) {
    const auto played = stage(R"({"do":"config","now":"2024-01-05 09:30:00"}
{"do":"account","key":"A"}
{"do":"init"}
{"do":"advance","seconds":60}
{"do":"order","account":"A","key":1,"market":"SH","code":"600001","side":"buy","price":10,"volume":100,"status":50,"strategy":"s"}
{"do":"advance","seconds":3600}
)");
    played->step(1);
    const double start = utils::clock();
    const auto running = [] {
        return utils::CSingletonT<TC::CLinkageManager>::instance()->getRunningOrders("A", "s");
    };
    pass(*played, 59.5);
    EXPECT_NEAR(utils::clock(), start + 59.5, 1e-3);
    EXPECT_EQ(running(), 0) << "the order comes after a minute";
    pass(*played, 1.0);
    EXPECT_EQ(running(), 1);
    const double now = utils::clock();
    played->step(0);
    EXPECT_EQ(utils::clock(), now) << "paused";
    EXPECT_FALSE(played->ended());
    while (!played->ended()) played->step(60'000'000);
    EXPECT_NEAR(utils::clock(), start + 3660, 1e-3) << "a fast step does not run past the end";
    EXPECT_EQ(played->progress(), 1.0);
    EXPECT_EQ(played->fault(), "");
}

TEST_F(DeskStage, HaltsAtATimeOfDay) {
    const auto played = stage(R"({"do":"config","now":"2024-01-05 09:30:00"}
{"do":"advance","to":"2024-01-05 10:00:00"}
{"do":"account","key":"A"}
{"do":"init"}
{"do":"advance","to":"2024-01-05 15:00:00"}
)",
                              "10:00");
    while (!played->halted()) played->step(desk::IStage::NEVER);
    EXPECT_FALSE(played->ended());
    EXPECT_TRUE(utils::CSingletonT<TC::CLinkageManager>::exists()) << "played at that moment";
    EXPECT_EQ(std::fmod(utils::clock(), 86400.0), 2 * 3600.0) << "10:00 in Shanghai";
    played->goOn();
    while (!played->ended()) played->step(desk::IStage::NEVER);
    EXPECT_EQ(std::fmod(utils::clock(), 86400.0), 7 * 3600.0) << "15:00";
    EXPECT_THROW(desk::makeScenarioStage("/nowhere/x", "", "", m_tape, m_witness, m_recorder),
                 desk::StageError);
}

TEST_F(DeskStage, CurvesBeginWithTheLibraryWhoeverLooks) {
    const auto played = desk::makeScenarioStage(support::MORNING, m_dir.filePath("data"), "",
                                                m_tape, m_witness, m_recorder);
    while (!played->ended()) played->step(desk::IStage::NEVER);
    const auto curve =
        utils::CSingletonT<TC::CLinkageManager>::instance()->getPeriodCurve("A01", "alpha");
    ASSERT_FALSE(curve.empty());
    EXPECT_LE(curve.begin()->first, 9 * 60 + 32) << "no picture was taken on the way";
}

}  // namespace

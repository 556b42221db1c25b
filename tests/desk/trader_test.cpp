#include "desk/timeedit.h"
#include "tests/desk/deskfixture.h"

#include <QSettings>

namespace {

using desk::CRowsView;
using support::DeskTest;
using Manager = TC::CLinkageManager;

/// What a trader does with mouse and keyboard, and must not do by accident.
class DeskTrader : public DeskTest {
protected:
    int running(const char* account, const char* strategy) {
        return ask([=](Manager& manager) { return manager.getRunningOrders(account, strategy); });
    }

    void chooseRunning(const char* account) {
        auto* table = find<CRowsView>("running");
        for (int row = 0; row < table->model()->rowCount(); ++row) {
            const QModelIndex index = table->model()->index(row, 0);
            if (index.siblingAtColumn(8).data().toString() == account)
                table->setCurrentIndex(index);
        }
        ASSERT_TRUE(until([&] { return enabled("runningCancel"); }));
    }
};

TEST_F(DeskTrader, ReturnCancelsEveryQuestion) {
    openAtTheEnd();
    press("balanceTimeSet");
    ask([](Manager& manager) { return manager.addHistoryLinkdata("A01", "alpha"), 0; });
    openTab("history");
    ASSERT_TRUE(until([&] { return rows("history").rowCount() == 1; }));
    clickRow("history", "A01alpha\nSH600001");
    openTab("balanceTimes");
    ASSERT_TRUE(until([&] { return rows("balanceTimes").rowCount() == 1; }));
    clickRow("balanceTimes", "A01:alpha");
    chooseRunning("A01");
    ASSERT_TRUE(until([&] { return enabled("balanceTimeDelete"); }));
    struct Case {
        const char* button;
        const char* question;
    } const cases[] = {{"balanceNow", "planDialog"},
                       {"balanceTimeDelete", "balanceTimeDeleteBox"},
                       {"historyDeleteStock", "historyDeleteBox"},
                       {"historyDeleteAll", "historyDeleteBox"},
                       {"runningCancelAll", "runningCancelAllBox"}};
    for (const auto& [button, question] : cases) {
        find<QPushButton>(button)->click();
        QTest::keyClick(dialog(question), Qt::Key_Return);
        ASSERT_TRUE(until([&] { return !m_window->findChild<QDialog*>(question); })) << button;
    }
    m_window->close();
    QTest::keyClick(dialog("closeBox"), Qt::Key_Return);
    EXPECT_TRUE(m_window->isVisible()) << "a balance time is still to come";
    EXPECT_EQ(running("A01", "alpha"), 1) << "nothing was cancelled, so nothing was balanced";
    EXPECT_EQ(ask([](Manager& manager) { return manager.getBalanceTime(); }).size(), 1u);
    EXPECT_EQ(
        ask([](Manager& manager) { return manager.getHistoryLinkageData("A01alpha"); }).size(), 1u);
}

TEST_F(DeskTrader, TimesAreReadAsTheyAreTyped) {
    const std::pair<const char*, const char*> cases[] = {
        {"1450", "145000"}, {"14:50", "145000"}, {"145005", "145005"},
        {"9:5", "090500"},  {"93001", "093001"}, {"930", "093000"},
        {"", ""},           {"25:00", ""},       {"14:50:05:1", ""},
        {"noon", ""},       {"14", ""},          {"14::5", ""},
        {"14:50:61", ""}};
    for (const auto& [text, time] : cases)
        EXPECT_EQ(desk::typedTime(text).toString("HHmmss"), QString(time)) << text;
    const QTime now(10, 15);
    EXPECT_EQ(desk::timeRemark(QTime(10, 16), now), "");
    EXPECT_TRUE(desk::timeRemark(QTime(10, 15), now).contains("past"));
    EXPECT_TRUE(desk::timeRemark(QTime(), now).contains("No time"));
}

TEST_F(DeskTrader, ATypedDigitEditsTheTimeAndTabLeavesTheTable) {
    openAtTheEnd();
    openTab("balanceTimes");
    press("balanceTimeSet");
    ASSERT_TRUE(until([&] { return rows("balanceTimes").rowCount() == 1; }));
    auto* table = find<CRowsView>("balanceTimes");
    clickRow("balanceTimes", "A01:alpha");
    QTest::keyClicks(table, "0");
    auto* editor = table->findChild<desk::CTimeEdit*>();
    ASSERT_TRUE(editor);
    QTest::keyClicks(editor, "931");
    EXPECT_EQ(editor->text(), "0931") << "nothing of the time before";
    EXPECT_TRUE(find<QLabel>("balanceTimeRemark")->text().contains("is past"));
    editor->setText("1452");
    EXPECT_EQ(find<QLabel>("balanceTimeRemark")->text(), "");
    QTest::keyClick(editor, Qt::Key_Return);
    EXPECT_TRUE(until([&] { return cell("balanceTimes", "A01:alpha", 2) == "14:52:00"; }));
    find<desk::CTimeEdit>("balanceTimeEdit")->setText("14:7x");
    EXPECT_FALSE(enabled("balanceTimeSet"));

    m_window->activateWindow();
    auto* pairs = find<CRowsView>("pairs");
    pairs->setFocus();
    QTest::keyClick(pairs, Qt::Key_Tab);
    EXPECT_FALSE(pairs->hasFocus());
    const QString before = pairs->currentKey();
    QTest::keyClick(m_window.get(), Qt::Key_Down, Qt::ControlModifier);
    EXPECT_NE(pairs->currentKey(), before);
}

TEST_F(DeskTrader, AnOpenPlanFollowsTheDayAndSaysThatItChanged) {
    openAtTheEnd();
    press("balanceNow");
    QDialog* plan = dialog("planDialog");
    const auto* freshness = plan->findChild<QLabel*>("planFreshness");
    EXPECT_FALSE(freshness->text().contains("changed"));
    m_engine->setSpeed(10);  // an answer takes time
    ask([](Manager& manager) { return manager.cancelAllOrders("A01", "alpha"), 0; });
    EXPECT_TRUE(until([&] { return freshness->text().contains("changed at 10:15"); }));
    const QString summary = plan->findChild<QLabel*>("planSummary")->text();
    EXPECT_FALSE(summary.contains("running orders 1")) << summary.toStdString();
    expectCells(plan->findChild<CRowsView*>("planTable")->rows(), "SH600001", {{1, "样本银行"}});
}

TEST_F(DeskTrader, RunningOrdersOfAllAccountsAreCancelledFromOneList) {
    openAtTheEnd();
    ASSERT_TRUE(until([&] { return rows("running").rowCount() == 2; }))
        << "A01 and A02, both alpha";
    chooseRunning("A02");
    m_engine->setSpeed(10);  // an answer takes time
    auto* table = find<CRowsView>("running");
    m_window->activateWindow();
    table->setFocus();
    QTest::keyClick(table, Qt::Key_Delete);
    ASSERT_TRUE(until([&] { return rows("running").rowCount() == 1; }));
    EXPECT_EQ(running("A02", "alpha"), 0);
    EXPECT_EQ(running("A01", "alpha"), 1) << "only the chosen one";
    EXPECT_TRUE(message().contains("was asked for")) << message().toStdString();
    const QPoint place = table->visualRect(table->model()->index(0, 1)).center();
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, place);
    EXPECT_TRUE(until([&] { return rows("running").rowCount() == 0; }));
    EXPECT_EQ(running("A01", "alpha"), 0);
}

TEST_F(DeskTrader, TheMorningAfterShowsWhatIsLeftOfEarlierDays) {
    open(R"({"do":"config","now":"2024-01-05 09:29:00","exchange":"paper"}
{"do":"instrument","market":"SH","code":"600001","name":"X","reference":10,"limitUp":11,"limitDown":9}
{"do":"account","key":"A01"}
{"do":"init"}
{"do":"price","market":"SH","code":"600001","last":11,"asks":[],"bids":[[11,100000]]}
{"do":"send","account":"A01","market":"SH","code":"600001","side":"sell","volume":800,"price":11,"strategy":"alpha"}
{"do":"advance","seconds":60}
{"do":"call","op":"addHistoryLinkdata","args":["A01","alpha"]}
{"do":"call","op":"addBalanceTime","args":["A01:grid","145000"]}
{"do":"newTradingDate","date":"20240108"}
{"do":"order","account":"A01","key":900,"market":"SH","code":"600001","side":"buy","price":9,"volume":100,"status":57,"strategy":"early"}
{"do":"advance","seconds":60}
)");
    ASSERT_TRUE(untilEnded());
    EXPECT_GE(rows("pairs").indexOf("A01\nalpha"), 0) << "it has history";
    EXPECT_GE(rows("pairs").indexOf("A01\ngrid"), 0) << "it has a balance time";
    EXPECT_GE(rows("pairs").indexOf("A01\nearly"), 0) << "its only order was refused";
}

TEST_F(DeskTrader, NoFigureOnTheScreenDiffersWhileTheDayPlays) {
    open(support::MORNING, 1000);
    int compared = 0;
    QObject::connect(m_window.get(), &desk::CMainWindow::sigShown, m_window.get(), [&] {
        const desk::Picture& now = *shown();
        int orders = 0;
        for (const auto& pair : now.pairs) {
            if (pair.strategy.empty()) orders += pair.runningOrders;
            const bool chosen =
                now.selection.account == pair.account && now.selection.strategy == pair.strategy;
            if (!chosen || now.curve.empty()) continue;
            double sum = 0.0;
            for (const auto& stock : now.stocks) sum += stock.profit;
            EXPECT_NEAR(sum, pair.profit, 1e-6) << now.time;
            EXPECT_EQ(now.curve.rbegin()->second.profit, pair.profit) << now.time;
            ++compared;
        }
        EXPECT_EQ(static_cast<int>(now.running.size()), orders) << now.time;
    });
    ASSERT_TRUE(untilEnded());
    EXPECT_GT(compared, 5);
}

TEST_F(DeskTrader, TheWindowIsRememberedAndASettledNoticeGoes) {
    openAtTheEnd();
    auto* stocks = find<CRowsView>("stocks");
    stocks->sortByColumn(3, Qt::DescendingOrder);
    stocks->setColumnHidden(10, true);
    stocks->setColumnWidth(1, 177);
    QSettings settings(m_dir.filePath("desk.ini"), QSettings::IniFormat);
    m_window->saveTo(settings);
    m_window->tidy();
    stocks->setColumnHidden(10, false);
    m_window->restoreFrom(settings);
    EXPECT_TRUE(stocks->isColumnHidden(10));
    EXPECT_EQ(stocks->columnWidth(1), 177);
    press("balanceNow");
    press(*dialog("planDialog"), "planAccept");
    ASSERT_TRUE(until([&] { return message().contains("in 5 seconds"); }));
    m_engine->setSpeed(1000);
    EXPECT_TRUE(until([&] { return message().isEmpty(); })) << "5 seconds are over";
}

TEST_F(DeskTrader, AChosenSortingIsThereAgainAfterARestart) {
    // The profits of the strategies, and the accounts of orders: a table of groups and one without.
    struct Sorted {
        const char* table;
        int column;
        Qt::SortOrder order;
    } const sorted[] = {{"pairs", 1, Qt::AscendingOrder}, {"running", 8, Qt::AscendingOrder}};
    const auto keysIn = [this](const char* name) {
        QStringList keys;
        const auto* model = find<CRowsView>(name)->model();
        for (int row = 0; row < model->rowCount(); ++row)
            keys << model->index(row, 0).data(desk::CRowsModel::ROLE_KEY).toString();
        return keys;
    };
    const auto filled = [this] {
        return untilEnded() && until([this] { return rows("running").rowCount() == 2; });
    };
    const QString file = m_dir.filePath("desk.ini");
    open(support::MORNING);
    ASSERT_TRUE(filled());
    std::map<std::string, QStringList> chosen;
    for (const auto& [table, column, order] : sorted) {
        const QStringList before = keysIn(table);
        find<CRowsView>(table)->sortByColumn(column, order);
        chosen[table] = keysIn(table);
        EXPECT_NE(chosen[table], before) << table << ": else this test shows nothing";
    }
    {
        QSettings settings(file, QSettings::IniFormat);
        m_window->saveTo(settings);
    }
    m_window.reset();
    m_engine.reset();

    open(support::MORNING);
    m_window->restoreFrom(QSettings(file, QSettings::IniFormat));
    ASSERT_TRUE(filled());
    for (const auto& [table, column, order] : sorted) {
        const auto* heading = find<CRowsView>(table)->horizontalHeader();
        EXPECT_EQ(heading->sortIndicatorSection(), column) << table;
        EXPECT_EQ(heading->sortIndicatorOrder(), order) << table;
        EXPECT_EQ(keysIn(table), chosen[table]) << table;
    }
}

}  // namespace

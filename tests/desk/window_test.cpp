#include "desk/balancespage.h"
#include "desk/timeedit.h"
#include "linkage/balance/balanceplan.h"
#include "tests/desk/deskfixture.h"

namespace {

using desk::CRowsView;
using support::DeskTest;
using Manager = TC::CLinkageManager;

class DeskWindow : public DeskTest {
protected:
    /// Answers the question before a deletion.
    void answerDelete(const char* button) {
        press(*dialog("historyDeleteBox"), button);
        ASSERT_TRUE(until([&] { return !m_window->findChild<QDialog*>("historyDeleteBox"); }));
    }

    std::pair<int, int> traded(const char* account, const char* strategy, const char* stock) {
        return ask([=](Manager& manager) {
            const auto records = manager.getTradeStatDatas(account, strategy);
            const auto found = records.find(stock);
            if (found == records.end()) return std::pair(-1, -1);
            return std::pair<int, int>(found->second->deals().m_nBuyVolume,
                                       found->second->deals().m_nSellVolume);
        });
    }
};

TEST_F(DeskWindow, TablesAgreeWithTheLibraryWhenAStrategyIsChosen) {
    openAtTheEnd();
    ASSERT_TRUE(until([&] { return rows("stocks").rowCount() == 1; }));
    const double profit = ask([](Manager& manager) {
        return manager.getTradeStatDatas("A01", "alpha").at("SH600001")->worth().m_dProfit.get();
    });
    EXPECT_EQ(traded("A01", "alpha", "SH600001"), std::pair(800, 300));
    // 500 × 10.12 + (300 × 10.19 − 800 × 10.01) − 5 − 5
    EXPECT_NEAR(profit, 99.0, 1e-6);
    expectCells(rows("stocks"), "SH600001", {{3, "+99.00"}, {4, "800"}, {5, "300"}, {8, "8,008"}});
    expectCells(rows("pairs"), "A01\nalpha", {{1, "+99.00"}, {4, "1"}});  // an order rests
    expectCells(rows("pairs"), "A01\n", {{2, "900"}});                    // the whole account
    EXPECT_EQ(rows("deals").rowCount(), 2);
    EXPECT_EQ(cell("levels", "10.0500", 1), "4") << "not the lots of other accounts and stocks";
    EXPECT_EQ(rows("levels").rowCount(), 1);
    EXPECT_EQ(shown()->dots.size(), 2u);
    EXPECT_NEAR(shown()->curve.rbegin()->second.profit, profit, 1e-6);
    // The recording has no bars; the minutes have the prices that were quoted in them.
    EXPECT_NEAR(shown()->curve.at(9 * 60 + 35).profit, 800 * 10.00 - 8008 - 5, 1e-6);
    EXPECT_NEAR(shown()->curve.at(9 * 60 + 50).profit, 500 * 10.20 + 3057 - 8008 - 10, 1e-6);

    clickRow("pairs", "A01\ngrid");
    ASSERT_TRUE(until([&] { return rows("stocks").indexOf("SZ000001") == 0; }));
    expectCells(rows("stocks"), "SZ000001", {{4, "100"}});
    EXPECT_EQ(rows("stocks").indexOf("SH600001"), -1);

    clickRow("pairs", "A02\ntwap");
    ASSERT_TRUE(until([&] { return rows("tasks").rowCount() == 1; }));
    expectCells(rows("tasks"), rows("tasks").row(0).key,
                {{1, "Running"}, {2, "Server"}, {3, "400"}, {4, "300"}});
    expectCells(rows("pairs"), "A02\ntwap", {{5, "1"}});

    EXPECT_TRUE(enabled("balanceNow"));
    clickRow("pairs", "A01\n");
    EXPECT_TRUE(until([&] { return !enabled("balanceNow"); })) << "a whole account is not balanced";
}

TEST_F(DeskWindow, ShowsTheBookOfBalances) {
    const char* const day =
        R"({"do":"config","now":"2024-01-02 09:30:00","exchange":"paper","options":{"guard":true}}
{"do":"instrument","market":"SH","code":"600000"}
{"do":"account","key":"A"}
{"do":"init"}
{"do":"price","market":"SH","code":"600000","last":10,"asks":[[10,9000]],"bids":[[9.99,9000]]}
{"do":"send","account":"A","strategy":"S","side":"buy","volume":1050,"price":10,"market":"SH","code":"600000"}
{"do":"call","op":"runAutoBalance","args":["A","S"]}
{"do":"call","op":"runAutoBalance","args":["A","S"]}
{"do":"advance","seconds":10}
)";
    open(day);
    ASSERT_TRUE(untilEnded());
    ASSERT_TRUE(until([this] { return rows("balances").rowCount() == 2; }));
    expectCells(rows("balances"), "1",
                {{1, "09:30:00"},
                 {2, "the recording"},
                 {4, "S"},
                 {5, "ended"},
                 {7, "1,000"},
                 {8, "1,000"},
                 {9, "SH600000 +50: less than a lot"}});
    expectCells(rows("balances"), "2", {{5, "refused"}, {7, "0"}, {9, "balance 1 is under way"}});
    m_translation.emplace(QLocale("zh"));
    EXPECT_EQ(desk::bookText("balance 12 is under way"), "第 12 号配平正在进行");
    EXPECT_EQ(desk::bookText("rejected: no funds"), "废单: no funds");
}

TEST_F(DeskWindow, BalanceTimeIsSetEditedInPlaceAndDeleted) {
    openAtTheEnd();
    openTab("balanceTimes");
    auto* table = find<CRowsView>("balanceTimes");
    const auto kept = [this] {
        return ask([](Manager& manager) { return manager.getBalanceTime(); });
    };

    find<desk::CTimeEdit>("balanceTimeEdit")->setTime(QTime(14, 50, 5));
    press("balanceTimeSet");
    ASSERT_TRUE(until([&] { return table->rows().rowCount() == 1; }));
    EXPECT_EQ(kept().at("A01:alpha"), "145005");
    expectCells(table->rows(), "A01:alpha", {{2, "14:50:05"}});

    const QPoint place = table->visualRect(table->model()->index(0, 2)).center();
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, place);
    auto* editor = table->findChild<desk::CTimeEdit*>();
    ASSERT_TRUE(editor);
    editor->setTime(QTime(14, 57));
    QTest::keyClick(editor, Qt::Key_Return);
    ASSERT_TRUE(until([&] { return cell("balanceTimes", "A01:alpha", 2) == "14:57:00"; }));
    EXPECT_EQ(kept().at("A01:alpha"), "145700");
    expectCells(rows("pairs"), "A01\nalpha", {{6, "14:57:00"}});

    press("balanceTimeDelete");
    press(*dialog("balanceTimeDeleteBox"), "balanceTimeDeleteGo");
    ASSERT_TRUE(until([&] { return table->rows().rowCount() == 0; }));
    EXPECT_TRUE(kept().empty());
}

TEST_F(DeskWindow, BalanceIsSentOnlyAfterItsPlanWasConfirmed) {
    openAtTheEnd();
    press("balanceNow");
    QDialog* plan = dialog("planDialog");
    EXPECT_EQ(ask([](Manager& manager) { return manager.previewBalance("A01", "alpha"); })
                  .stocks.at(0)
                  .volume,
              500);
    // The last cell: what it comes to at the price of the order.
    expectCells(plan->findChild<CRowsView*>("planTable")->rows(), "SH600001",
                {{4, "500"}, {5, "Sell"}, {6, "500"}, {7, "Opposite best price"}, {9, "5,055"}});
    EXPECT_EQ(plan->findChild<QLabel*>("planHeading")->text(), "Balance A01 / alpha");
    const QString summary = plan->findChild<QLabel*>("planSummary")->text();
    EXPECT_TRUE(summary.contains("running orders 1, running tasks 0")) << summary.toStdString();
    EXPECT_TRUE(summary.contains("selling for about 5,055 yuan")) << summary.toStdString();
    press(*plan, "planReject");
    m_engine->setSpeed(1000);
    const std::string asked = shown()->time;
    ASSERT_TRUE(until([&] { return shown()->time > asked; }));
    EXPECT_EQ(traded("A01", "alpha", "SH600001"), std::pair(800, 300));

    press("balanceNow");
    press(*dialog("planDialog"), "planAccept");
    ASSERT_TRUE(until([&] { return cell("stocks", "SH600001", 5) == "800"; })) << "it was filled";
    EXPECT_EQ(traded("A01", "alpha", "SH600001"), std::pair(800, 800));
    expectCells(rows("pairs"), "A01\nalpha", {{4, "0"}});  // the rest was cancelled
}

TEST_F(DeskWindow, HistoryIsCarriedOverOnceAndBalanced) {
    openAtTheEnd();
    openTab("history");
    const QString key = "A01alpha\nSH600001";
    press("historyCarry");
    ASSERT_TRUE(until([&] { return rows("history").indexOf(key) == 0; }));
    expectCells(rows("history"), key, {{5, "500"}});
    EXPECT_EQ(ask([](Manager& manager) { return manager.getHistoryStatData(); }).size(), 1u);
    press("historyCarry");
    ASSERT_TRUE(until([&] { return message().contains("already"); }));
    expectCells(rows("history"), key, {{5, "500"}});

    clickRow("history", key);
    ASSERT_TRUE(until([&] { return enabled("historyBalance"); }));
    press("historyBalance");
    QDialog* plan = dialog("planDialog");
    expectCells(plan->findChild<CRowsView*>("planTable")->rows(), "SH600001", {{6, "500"}});
    EXPECT_FALSE(plan->findChild<QLabel*>("planSummary")->text().contains("Cancelled"));
    press(*plan, "planAccept");
    m_engine->setSpeed(1000);
    ASSERT_TRUE(until([&] { return cell("stocks", "SH600001", 5) == "800"; }))
        << "the history was sold, as an order of the strategy";
    QStringList remarks;
    for (int row = 0; row < rows("deals").rowCount(); ++row)
        remarks << rows("deals").index(row, 5).data().toString();
    EXPECT_EQ(remarks.count("balances earlier days"), 1) << remarks.join("|").toStdString();
    EXPECT_EQ(remarks.count(""), 2);
}

TEST_F(DeskWindow, HistoryIsDeletedOnlyAfterAQuestion) {
    openAtTheEnd();
    openTab("history");
    const QString key = "A01alpha\nSH600001";
    ask([](Manager& manager) { return manager.addHistoryLinkdata("A01", "alpha"), 0; });
    ASSERT_TRUE(until([&] { return rows("history").indexOf(key) == 0; })) << "also without totals";
    expectCells(rows("history"), key, {{0, "A01"}, {1, "alpha"}});
    press("historyCarry");
    ASSERT_TRUE(until([&] { return cell("history", key, 5) == "1,000"; }));

    // Stocks of the pair and pairs that are left.
    const auto left = [this] {
        return ask([](Manager& manager) {
            return std::pair(manager.getHistoryLinkageData("A01alpha").size(),
                             manager.getHistoryStatData().size());
        });
    };
    using Left = std::pair<std::size_t, std::size_t>;
    const auto remove = [&](const char* button, const char* answer) {
        ASSERT_TRUE(until([&] { return enabled(button); })) << button;
        press(button);
        answerDelete(answer);
    };
    for (const char* button : {"historyDeleteStock", "historyDeleteBalanced", "historyDeleteAll"}) {
        clickRow("history", key);
        remove(button, "historyDeleteNot");
        EXPECT_EQ(left(), Left(1, 1)) << button;
    }
    remove("historyDeleteStock", "historyDeleteGo");
    ASSERT_TRUE(until([&] { return rows("history").indexOf(key) == -1; }));
    EXPECT_EQ(left(), Left(0, 1));
    ask([](Manager& manager) {
        TC::TradeStatData level;
        level.m_strAccountKey = "A02";
        level.m_nTotalBuyVolume = level.m_nTotalSellVolume = 100;
        return manager.addHistoryStat("A02x", level), 0;
    });
    EXPECT_EQ(left().second, 2u);
    remove("historyDeleteBalanced", "historyDeleteGo");
    EXPECT_TRUE(until([&] { return left().second == 1; })) << "the unequal one stays";
    remove("historyDeleteAll", "historyDeleteGo");
    EXPECT_TRUE(until([&] { return left().second == 0; }));
}

}  // namespace

#include "linkage/balance/balanceplan.h"
#include "tests/desk/deskfixture.h"

#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>
#include <QTimeEdit>

namespace {

using desk::CRowsView;
using support::DeskTest;
using Manager = TC::CLinkageManager;

class DeskWindow : public DeskTest {
protected:
    QDialog* planDialog() {
        QDialog* dialog = nullptr;
        EXPECT_TRUE(until([&] { return (dialog = m_window->findChild<QDialog*>("planDialog")); }));
        return dialog;
    }

    /// Answers the question before a deletion.
    void answerDelete(const char* button) {
        QDialog* box = nullptr;
        ASSERT_TRUE(
            until([&] { return (box = m_window->findChild<QDialog*>("historyDeleteBox")); }));
        click(box->findChild<QPushButton*>(button));
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
    auto* stocks = find<CRowsView>("stocks");
    ASSERT_TRUE(until([&] { return stocks->rows().rowCount() == 1; }));
    const double profit = ask([](Manager& manager) {
        return manager.getTradeStatDatas("A01", "alpha").at("SH600001")->deals().m_dProfit.get();
    });
    EXPECT_EQ(traded("A01", "alpha", "SH600001"), std::pair(800, 300));
    // 500 × 10.12 + (300 × 10.19 − 800 × 10.01) − 5 − 5
    EXPECT_NEAR(profit, 99.0, 1e-6);
    EXPECT_EQ(cell(stocks, "SH600001", 4), "800");
    EXPECT_EQ(cell(stocks, "SH600001", 5), "300");
    EXPECT_EQ(cell(stocks, "SH600001", 8), "8,008");
    EXPECT_EQ(cell(stocks, "SH600001", 3), "+99.00");
    EXPECT_EQ(cell(find<CRowsView>("pairs"), "A01\nalpha", 1), "+99.00");
    EXPECT_EQ(cell(find<CRowsView>("pairs"), "A01\n", 2), "900") << "the whole account";
    EXPECT_EQ(cell(find<CRowsView>("pairs"), "A01\nalpha", 4), "1") << "the resting order";
    EXPECT_EQ(find<CRowsView>("deals")->rows().rowCount(), 2);
    auto* levels = find<CRowsView>("levels");
    EXPECT_EQ(cell(levels, "10.0500", 1), "4") << "not the lots of other accounts and stocks";
    EXPECT_EQ(levels->rows().rowCount(), 1);
    EXPECT_EQ(shown()->dots.size(), 2u);
    EXPECT_NEAR(shown()->curve.rbegin()->second.profit, profit, 1e-6);
    // The recording has no bars; the minutes have the prices that were quoted in them.
    EXPECT_NEAR(shown()->curve.at(9 * 60 + 35).profit, 800 * 10.00 - 8008 - 5, 1e-6);
    EXPECT_NEAR(shown()->curve.at(9 * 60 + 50).profit, 500 * 10.20 + 3057 - 8008 - 10, 1e-6);

    choosePair("A01\ngrid");
    ASSERT_TRUE(until([&] { return stocks->rows().indexOf("SZ000001") == 0; }));
    EXPECT_EQ(cell(stocks, "SZ000001", 4), "100");
    EXPECT_EQ(stocks->rows().indexOf("SH600001"), -1);
}

TEST_F(DeskWindow, TasksShowWhatTheyHaveDone) {
    openAtTheEnd();
    choosePair("A02\ntwap");
    auto* tasks = find<CRowsView>("tasks");
    ASSERT_TRUE(until([&] { return tasks->rows().rowCount() == 1; }));
    const QString task = tasks->rows().row(0).key;
    EXPECT_EQ(cell(tasks, task, 1), "Running");
    EXPECT_EQ(cell(tasks, task, 2), "Server");
    EXPECT_EQ(cell(tasks, task, 3), "400");
    EXPECT_EQ(cell(tasks, task, 4), "300");
    EXPECT_EQ(cell(find<CRowsView>("pairs"), "A02\ntwap", 5), "1");
}

TEST_F(DeskWindow, BalanceTimeIsSetEditedInPlaceAndDeleted) {
    openAtTheEnd();
    openTab("balanceTimes");
    auto* table = find<CRowsView>("balanceTimes");
    const auto kept = [this] {
        return ask([](Manager& manager) { return manager.getBalanceTime(); });
    };

    find<QTimeEdit>("balanceTimeEdit")->setTime(QTime(14, 50, 5));
    click(find<QPushButton>("balanceTimeSet"));
    ASSERT_TRUE(until([&] { return table->rows().rowCount() == 1; }));
    EXPECT_EQ(kept().at("A01:alpha"), "145005");
    EXPECT_EQ(cell(table, "A01:alpha", 2), "14:50:05");

    const QPoint place = table->visualRect(table->model()->index(0, 2)).center();
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, place);
    auto* editor = table->findChild<QTimeEdit*>();
    ASSERT_TRUE(editor);
    editor->setTime(QTime(14, 57));
    QTest::keyClick(editor, Qt::Key_Return);
    ASSERT_TRUE(until([&] { return cell(table, "A01:alpha", 2) == "14:57:00"; }));
    EXPECT_EQ(kept().at("A01:alpha"), "145700");
    EXPECT_EQ(cell(find<CRowsView>("pairs"), "A01\nalpha", 6), "14:57:00");

    click(find<QPushButton>("balanceTimeDelete"));
    ASSERT_TRUE(until([&] { return table->rows().rowCount() == 0; }));
    EXPECT_TRUE(kept().empty());
}

TEST_F(DeskWindow, BalanceIsSentOnlyAfterItsPlanWasConfirmed) {
    openAtTheEnd();
    click(find<QPushButton>("balanceNow"));
    QDialog* dialog = planDialog();
    auto* table = dialog->findChild<CRowsView*>("planTable");
    const TC::BalancePlan plan =
        ask([](Manager& manager) { return manager.previewBalance("A01", "alpha"); });
    ASSERT_EQ(plan.stocks.size(), 1u);
    EXPECT_EQ(plan.stocks[0].volume, 500);
    EXPECT_EQ(cell(table, "SH600001", 3), "500");
    EXPECT_EQ(cell(table, "SH600001", 4), "Sell");
    EXPECT_EQ(cell(table, "SH600001", 5), "500");
    EXPECT_EQ(cell(table, "SH600001", 6), "Opposite best price");
    EXPECT_EQ(cell(table, "SH600001", 8), "5,055") << "at the price of the order";
    EXPECT_EQ(dialog->findChild<QLabel*>("planHeading")->text(), "Balance A01 / alpha");
    const QString summary = dialog->findChild<QLabel*>("planSummary")->text();
    EXPECT_TRUE(summary.contains("running orders 1, running tasks 0")) << summary.toStdString();
    EXPECT_TRUE(summary.contains("selling for about 5,055 yuan")) << summary.toStdString();
    click(dialog->findChild<QPushButton*>("planReject"));
    m_engine->setSpeed(1000);
    const QString asked = shown() ? QString::fromStdString(shown()->time) : QString();
    ASSERT_TRUE(until([&] { return QString::fromStdString(shown()->time) > asked; }));
    EXPECT_EQ(traded("A01", "alpha", "SH600001"), std::pair(800, 300));

    click(find<QPushButton>("balanceNow"));
    click(planDialog()->findChild<QPushButton*>("planAccept"));
    ASSERT_TRUE(until([&] { return cell(find<CRowsView>("stocks"), "SH600001", 5) == "800"; }))
        << "the balance was filled";
    EXPECT_EQ(traded("A01", "alpha", "SH600001"), std::pair(800, 800));
    EXPECT_EQ(cell(find<CRowsView>("pairs"), "A01\nalpha", 4), "0") << "the rest was cancelled";
}

TEST_F(DeskWindow, WholeAccountIsNotBalanced) {
    openAtTheEnd();
    choosePair("A01\n");
    EXPECT_TRUE(until([&] { return !find<QPushButton>("balanceNow")->isEnabled(); }));
}

TEST_F(DeskWindow, HistoryIsCarriedOverAndBalanced) {
    openAtTheEnd();
    openTab("history");
    auto* table = find<CRowsView>("history");
    const QString key = "A01alpha\nSH600001";
    click(find<QPushButton>("historyCarry"));
    ASSERT_TRUE(until([&] { return table->rows().indexOf(key) == 0; }));
    EXPECT_EQ(cell(table, key, 5), "500");
    EXPECT_EQ(ask([](Manager& manager) { return manager.getHistoryStatData(); }).size(), 1u);
    click(find<QPushButton>("historyCarry"));
    ASSERT_TRUE(until([&] { return find<QLabel>("message")->text().contains("already"); }));
    EXPECT_EQ(cell(table, key, 5), "500") << "not twice";

    clickRow(table, key);
    ASSERT_TRUE(until([&] { return find<QPushButton>("historyBalance")->isEnabled(); }));
    click(find<QPushButton>("historyBalance"));
    QDialog* dialog = planDialog();
    EXPECT_EQ(cell(dialog->findChild<CRowsView*>("planTable"), "SH600001", 5), "500");
    EXPECT_FALSE(dialog->findChild<QLabel*>("planSummary")->text().contains("Cancelled"));
    click(dialog->findChild<QPushButton*>("planAccept"));
    m_engine->setSpeed(1000);
    ASSERT_TRUE(until([&] { return cell(find<CRowsView>("stocks"), "SH600001", 5) == "800"; }))
        << "the history was sold, as an order of the strategy";
}

TEST_F(DeskWindow, HistoryIsDeletedOnlyAfterAQuestion) {
    openAtTheEnd();
    openTab("history");
    auto* table = find<CRowsView>("history");
    const QString key = "A01alpha\nSH600001";
    ask([](Manager& manager) { return manager.addHistoryLinkdata("A01", "alpha"), 0; });
    ASSERT_TRUE(until([&] { return table->rows().indexOf(key) == 0; })) << "also without totals";
    EXPECT_EQ(cell(table, key, 0) + cell(table, key, 1), "A01alpha");
    click(find<QPushButton>("historyCarry"));
    ASSERT_TRUE(until([&] { return cell(table, key, 5) == "1,000"; }));

    const auto stocksLeft = [this] {
        return ask([](Manager& manager) { return manager.getHistoryLinkageData("A01alpha"); })
            .size();
    };
    const auto pairsLeft = [this] {
        return ask([](Manager& manager) { return manager.getHistoryStatData(); }).size();
    };
    for (const char* button : {"historyDeleteStock", "historyDeleteBalanced", "historyDeleteAll"}) {
        clickRow(table, key);
        ASSERT_TRUE(until([&] { return find<QPushButton>(button)->isEnabled(); }));
        click(find<QPushButton>(button));
        answerDelete("historyDeleteNot");
        EXPECT_EQ(stocksLeft(), 1u) << button;
    }
    click(find<QPushButton>("historyDeleteStock"));
    answerDelete("historyDeleteGo");
    ASSERT_TRUE(until([&] { return table->rows().indexOf(key) == -1; }));
    EXPECT_EQ(std::pair(stocksLeft(), pairsLeft()), std::pair(std::size_t(0), std::size_t(1)));
    ask([](Manager& manager) {
        TC::TradeStatData level;
        level.m_strAccountKey = "A02";
        level.m_nTotalBuyVolume = level.m_nTotalSellVolume = 100;
        return manager.addHistoryStat("A02x", level), 0;
    });
    EXPECT_EQ(pairsLeft(), 2u);
    click(find<QPushButton>("historyDeleteBalanced"));
    answerDelete("historyDeleteGo");
    EXPECT_TRUE(until([&] { return pairsLeft() == 1; })) << "the unequal one stays";
    click(find<QPushButton>("historyDeleteAll"));
    answerDelete("historyDeleteGo");
    EXPECT_TRUE(until([&] { return pairsLeft() == 0; }));
}

TEST_F(DeskWindow, ImportShowsItsReportAndTheLibraryHasTheDeals) {
    openAtTheEnd();
    QFile file(m_dir.filePath("deals.csv"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(
        "成交日期,成交时间,证券代码,证券名称,买卖标志,成交价格,成交数量,成交金额,成交编号,"
        "股东代码\n"
        "20240105,09:40:01,600001,样本银行,买入,10.05,100,1005.00,D1,A01\n"
        "20240105,09:41:02,600001,样本银行,什么,10.06,200,2012.00,D2,A01\n");
    file.close();
    openTab("importSkipped");
    click(find<QPushButton>("importChoose"));
    QFileDialog* dialog = nullptr;
    ASSERT_TRUE(
        until([&] { return (dialog = m_window->findChild<QFileDialog*>("importDialog")); }));
    dialog->selectFile(file.fileName());
    QMetaObject::invokeMethod(dialog, "accept");
    auto* summary = find<QLabel>("importSummary");
    ASSERT_TRUE(until([&] { return summary->text().startsWith("deals.csv:"); }));
    EXPECT_TRUE(summary->text().contains("rows read 2, taken 1, of these new 1, left out 1"))
        << summary->text().toStdString();
    auto* skipped = find<CRowsView>("importSkipped");
    ASSERT_EQ(skipped->rows().rowCount(), 1);
    EXPECT_EQ(skipped->rows().index(0, 1).data().toString(), "3");
    const int imported = ask([](Manager& manager) {
        int count = 0;
        for (const auto& [day, stocks] : manager.state().dealDetails)
            for (const auto& [stock, accounts] : stocks)
                for (const auto& [account, deals] : accounts)
                    for (const auto& [key, deal] : deals) count += deal->m_bImported;
        return count;
    });
    EXPECT_EQ(imported, 1);
}

}  // namespace

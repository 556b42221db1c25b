#include "linkage/store/filedrecords.h"
#include "linkage/store/historyrequest.h"
#include "linkage/store/importreport.h"
#include "replay/times.h"
#include "tests/desk/deskfixture.h"

#include <QClipboard>
#include <QComboBox>
#include <QDateEdit>
#include <QFileDialog>
#include <QLineEdit>

namespace {

using support::Cells;
using support::DeskTest;
using Manager = TC::CLinkageManager;

const QByteArray HEAD =
    "成交日期,成交时间,证券代码,证券名称,买卖标志,成交价格,成交数量,成交金额,成交编号,股东代码\n";
const QByteArray FIRST = "20240104,09:40:01,600001,样本银行,买入,10.05,100,1005.00,D1,A01\n";
const QByteArray SECOND = "20240104,09:41:01,600001,样本银行,卖出,10.10,300,3030.00,D2,A01\n";
/// A deal of the running day that the trading system reports, too.
const QByteArray REPORTED = "20240105,,600001,样本银行,卖出,10.19,300,3057.00,,A01\n";
const QByteArray BAD = "20240104,09:42:01,600001,样本银行,什么,10.06,200,2012.00,D3,A01\n";

class DeskImport : public DeskTest {
protected:
    QString write(const char* name, const QByteArray& rows, const QByteArray& head = HEAD) {
        QFile file(m_dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(head);
        file.write(rows);
        return file.fileName();
    }

    /// Chooses files of the test's directory, and waits for what is shown of them.
    QDialog* choose(const QString& names) {
        openTab("imports");
        press("importChoose");
        auto* chooser = qobject_cast<QFileDialog*>(dialog("importDialog"));
        chooser->setDirectory(m_dir.path());
        chooser->findChild<QLineEdit*>("fileNameEdit")->setText(names);
        QMetaObject::invokeMethod(chooser, "accept");
        QDialog* preview = dialog("importPreview");
        EXPECT_TRUE(untilText(preview, "importHeading", "Preview"));
        return preview;
    }

    static QString textOf(QDialog* window, const char* label) {
        return window->findChild<QLabel*>(label)->text();
    }
    static bool untilText(QDialog* window, const char* label, const char* text) {
        return until([=] { return textOf(window, label).contains(text); });
    }
    static desk::CRowsModel& table(QDialog* window, const char* name) {
        return window->findChild<desk::CRowsView*>(name)->rows();
    }
    static bool offers(QDialog* window, const char* button) {
        return window->findChild<QPushButton*>(button)->isVisible();
    }

    /// What the tables show, without what became of the files.
    static QString shownIn(QDialog* window) {
        QStringList texts;
        for (const char* name : {"importDays", "importRows"}) {
            desk::CRowsModel& rows = table(window, name);
            for (int row = 0; row < rows.rowCount(); ++row) {
                for (int column = 0; column < rows.columnCount(); ++column) {
                    const bool isState = column == 1 && QString(name) == "importDays";
                    if (!isState) texts << rows.index(row, column).data().toString();
                }
            }
        }
        return texts.join('|');
    }

    std::size_t imports() {
        return ask([](Manager& manager) { return manager.getImports().size(); });
    }

    /// The deals of A01 on a day, and what they bought and sold.
    std::tuple<std::size_t, double, double> filed(const char* date) {
        return ask([date](Manager& manager) {
            const auto deals = manager.getAccountDeals("A01", replay::dayNumber(date));
            double bought = 0.0, sold = 0.0;
            for (const auto& [key, deal] : deals)
                (deal->m_eDirection == vexservice::ENTRUST_BUY ? bought : sold) += deal->m_dAmount;
            return std::tuple(deals.size(), bought, sold);
        });
    }
    using Filed = std::tuple<std::size_t, double, double>;
};

TEST_F(DeskImport, NothingCountsBeforeItWasShownAndAllIsTakenBack) {
    openAtTheEnd();
    const QString path = write("deals.csv", FIRST + SECOND + REPORTED + BAD);
    const Filed running = filed("20240105");
    QDialog* preview = choose("deals.csv");
    const QString day = path + "\nA01\n20240104";
    // Account, kind, number, bought and sold amount; new, known from imports, and reported.
    const Cells cells = {{2, "A01"}, {3, "2024-01-04"}, {4, "Deals"},
                         {5, "2"},   {6, "1,005.00"},   {7, "3,030.00"},
                         {8, "2"},   {9, "0"},          {11, "0"}};
    expectCells(table(preview, "importDays"), day, cells);
    expectCells(table(preview, "importDays"), path + "\nA01\n20240105", {{8, "0"}, {11, "1"}});
    EXPECT_EQ(textOf(preview, "importHeading"),
              "Preview, nothing is imported yet: rows read 4, taken 2, of these new 2, left out 2");
    auto* reasons = preview->findChild<desk::CRowsView*>("importRows");
    reasons->setFocus();
    QTest::keyClick(reasons, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(reasons, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(),
              "deals.csv\t\t4\ttaken for a deal that the trading system reported\n"
              "deals.csv\t\t5\tnot a deal: 什么\n");

    EXPECT_TRUE(preview->findChild<QPushButton*>("importCancel")->isDefault());
    preview->findChild<QPushButton*>("importCancel")->setFocus();
    QTest::keyClick(preview, Qt::Key_Return);
    ASSERT_TRUE(until([&] { return !m_window->findChild<QDialog*>("importPreview"); }));
    EXPECT_EQ(imports(), 0u);
    EXPECT_EQ(filed("20240104"), Filed(0, 0, 0));

    preview = choose("deals.csv");
    const QString shown = shownIn(preview);
    press(*preview, "importGo");
    ASSERT_TRUE(untilText(preview, "importHeading", "Imported:"));
    EXPECT_EQ(shownIn(preview), shown) << "the report tells what the preview has told";
    EXPECT_FALSE(offers(preview, "importGo"));
    EXPECT_EQ(imports(), 1u);
    EXPECT_EQ(filed("20240104"), Filed(2, 1005, 3030));
    ASSERT_TRUE(until([&] { return rows("imports").rowCount() == 1; }));

    for (const bool undoes : {false, true}) {
        press(*preview, "importUndo");
        QDialog* question = dialog("importUndoBox");
        EXPECT_TRUE(question->findChild<QPushButton*>("importUndoNot")->isDefault());
        press(*question, undoes ? "importUndoGo" : "importUndoNot");
        ASSERT_TRUE(until([&] { return !m_window->findChild<QDialog*>("importUndoBox"); }));
        EXPECT_TRUE(undoes || imports() == 1u);
    }
    ASSERT_TRUE(untilText(preview, "importHeading", "Taken back"));
    EXPECT_EQ(imports(), 0u);
    EXPECT_EQ(filed("20240104"), Filed(0, 0, 0));
    EXPECT_EQ(filed("20240105"), running);
    EXPECT_FALSE(offers(preview, "importUndo"));
}

TEST_F(DeskImport, WhatHasChangedSinceItWasShownIsShownAnew) {
    openAtTheEnd();
    const QString path = write("deals.csv", FIRST);
    const QString other = write("other.csv", FIRST);
    const QString day = path + "\nA01\n20240104";
    QDialog* preview = choose("deals.csv");
    expectCells(table(preview, "importDays"), day, {{8, "1"}, {9, "0"}});
    const auto tryInVain = [&] {
        preview->findChild<QLabel*>("importNotice")->clear();
        press(*preview, "importGo");
        ASSERT_TRUE(untilText(preview, "importNotice", "deals.csv: the import would not be"));
        ASSERT_TRUE(untilText(preview, "importHeading", "Preview"));
    };
    // Another import in the middle.
    ask([other](Manager& manager) { return manager.importData(other).added; });
    tryInVain();
    expectCells(table(preview, "importDays"), day, {{8, "0"}, {9, "1"}});
    // Another file under the name, with the same counts; then one with a deal more.
    write("deals.csv", QByteArray(FIRST).replace("10.05", "10.06").replace("1005", "1006"));
    tryInVain();
    write("deals.csv", FIRST + SECOND);
    tryInVain();
    EXPECT_EQ(imports(), 1u);
    EXPECT_EQ(filed("20240104"), Filed(1, 1005, 0));
    expectCells(table(preview, "importDays"), day, {{5, "2"}, {8, "1"}, {9, "1"}});
    press(*preview, "importGo");
    ASSERT_TRUE(untilText(preview, "importHeading", "Imported:"));
    EXPECT_EQ(filed("20240104"), Filed(2, 1005, 3030));
}

TEST_F(DeskImport, OfFilesThatTellTheSameTheSecondIsShownAnew) {
    openAtTheEnd();
    write("one.csv", FIRST);
    const QString two = write("two.csv", FIRST + SECOND);
    QDialog* preview = choose("\"one.csv\" \"two.csv\"");
    ASSERT_EQ(table(preview, "importDays").rowCount(), 2);
    expectCells(table(preview, "importDays"), two + "\nA01\n20240104", {{8, "2"}});
    press(*preview, "importGo");
    ASSERT_TRUE(untilText(preview, "importHeading", "Imported 1 of 2 files"));
    EXPECT_TRUE(textOf(preview, "importNotice").startsWith("two.csv: "));
    EXPECT_EQ(filed("20240104"), Filed(1, 1005, 0));
    expectCells(table(preview, "importDays"), two + "\nA01\n20240104",
                {{1, "not imported yet"}, {8, "1"}, {9, "1"}});
    press(*preview, "importGo");
    ASSERT_TRUE(untilText(preview, "importHeading", "Imported:"));
    press(*preview, "importUndo");
    press(*dialog("importUndoBox"), "importUndoGo");
    ASSERT_TRUE(untilText(preview, "importHeading", "Taken back"));
    EXPECT_EQ(filed("20240104"), Filed(0, 0, 0)) << "both";
}

TEST_F(DeskImport, TheUserChoosesTheAccountOfAFileThatNamesNone) {
    openAtTheEnd();
    const QString path =
        write("orders.csv", "20240104,600001,买入,10.00,100,0,已撤,7\n",
              "委托日期,证券代码,买卖,委托价格,委托数量,成交数量,委托状态,委托编号\n");
    QDialog* preview = choose("orders.csv");
    EXPECT_FALSE(offers(preview, "importGo"));
    EXPECT_EQ(table(preview, "importRows").index(0, 3).data().toString(),
              "nothing is taken: the file names no account, and several are followed");
    auto* accounts = preview->findChild<QComboBox*>("importAccount");
    ASSERT_TRUE(accounts->isVisible());
    ASSERT_EQ(accounts->itemText(2), "A02");
    QTest::keyClick(accounts, Qt::Key_End);
    ASSERT_TRUE(until([&] { return offers(preview, "importGo"); }));
    expectCells(table(preview, "importDays"), path + "\nA02\n20240104", {{4, "Orders"}, {5, "1"}});
    press(*preview, "importGo");
    ASSERT_TRUE(untilText(preview, "importHeading", "Imported:"));
    for (const auto& [account, count] : {std::pair("A01", 0u), std::pair("A02", 1u)}) {
        EXPECT_EQ(ask([name = account](Manager& manager) {
                      return manager.getAccountOrders(name, replay::dayNumber("20240104")).size();
                  }),
                  count);
    }
}

/// The view of past days: what it shows is what the library answers.
class DeskPastDays : public DeskImport {
protected:
    QString server() { return find<QLabel>("pastServer")->text(); }
    QString totals() { return find<QLabel>("pastTotals")->text(); }
    void setDate(int day) { find<QDateEdit>("pastDate")->setDate(QDate(2024, 1, day)); }

    QStringList column(const char* table, int column) {
        QStringList texts;
        for (int row = 0; row < rows(table).rowCount(); ++row)
            texts << rows(table).index(row, column).data().toString();
        return texts;
    }
};

const char* const SERVED =
    R"({"do":"config","now":"2024-01-05 09:29:00"}
{"do":"account","key":"A01"}
{"do":"init"}
{"do":"deal","account":"A01","key":5,"market":"SH","code":"600001","side":"buy","price":10,"volume":100}
{"do":"serverHistory","account":"A01","date":"20240103","deals":[{"key":11,"market":"SH","code":"600001","side":"sell","price":11,"volume":200,"time":"100000"}],"orders":[{"key":12,"market":"SH","code":"600001","side":"sell","price":11,"volume":500,"traded":200,"amount":2200,"status":53}]}
{"do":"serverHistory","account":"A01","date":"20240104","deals":[{"key":13,"market":"SH","code":"600001","side":"buy","price":10.05,"volume":100,"time":"094001","dealId":"D1"}]}
)";

TEST_F(DeskPastDays, ShowWhatIsFiledWhereItComesFromAndAskTheServer) {
    open(SERVED);
    ASSERT_TRUE(untilEnded());
    clickRow("pairs", "A01\n");
    const QString path = write("deals.csv", FIRST + SECOND);
    ask([path](Manager& manager) { return manager.importData(path).added; });
    openTab("pastDays");
    ASSERT_TRUE(until([&] { return rows("pastDays").rowCount() == 2; }));
    EXPECT_EQ(column("pastDays", 0), (QStringList{"2024-01-05", "2024-01-04"})) << "newest first";
    ASSERT_TRUE(until([&] { return rows("pastDeals").rowCount() == 1; }));
    EXPECT_EQ(column("pastDeals", 6), QStringList{"reported"});
    EXPECT_FALSE(enabled("pastAsk")) << "the running day";

    auto* days = find<desk::CRowsView>("pastDays");
    QTest::mouseClick(days->viewport(), Qt::LeftButton, {},
                      days->visualRect(days->model()->index(1, 0)).center());
    ASSERT_TRUE(until([&] { return rows("pastDeals").rowCount() == 2; }));
    EXPECT_EQ(column("pastDeals", 6),
              (QStringList{"imported from deals.csv", "imported from deals.csv"}));
    const QString sums = "bought 100 shares for 1,005.00 yuan, sold 300 for 3,030.00 yuan";
    EXPECT_EQ(totals(), "Deals: 2, " + sums);
    EXPECT_EQ(filed("20240104"), Filed(2, 1005, 3030));
    ASSERT_TRUE(until([&] { return enabled("pastAsk"); }));
    press("pastAsk");
    ASSERT_TRUE(until([&] { return column("pastDeals", 6).contains("answered by the server"); }));
    EXPECT_EQ(column("pastDeals", 6),
              (QStringList{"answered by the server", "imported from deals.csv"}));
    EXPECT_EQ(totals(), "Deals: 2, " + sums) << "the deal of one number counts once";
    EXPECT_TRUE(until([&] {
        return server() == "Server: deals answered, 2 filed; orders answered, 0 filed.";
    })) << server().toStdString();
    find<QComboBox>("pastKind")->setCurrentIndex(1);
    EXPECT_EQ(rows("pastOrders").rowCount(), 0);
    EXPECT_EQ(totals(), "Orders: 0, bought 0 shares for 0.00 yuan, sold 0 for 0.00 yuan");
}

TEST_F(DeskPastDays, ADayWithNothingSaysSoUntilTheServerAnswers) {
    open(SERVED);
    ASSERT_TRUE(untilEnded());
    clickRow("pairs", "A01\n");
    openTab("pastDays");
    ASSERT_TRUE(until([&] { return rows("pastDeals").rowCount() == 1; }));
    setDate(3);
    ASSERT_TRUE(until([&] { return rows("pastDeals").rowCount() == 0; }));
    ASSERT_TRUE(until([&] { return server() == "Server: deals not asked; orders not asked."; }));
    press("pastAsk");
    ASSERT_TRUE(until([&] { return rows("pastDeals").rowCount() == 1; }));
    find<QComboBox>("pastKind")->setCurrentIndex(1);
    ASSERT_TRUE(until([&] { return rows("pastOrders").rowCount() == 1; }));
    EXPECT_EQ(totals(), "Orders: 1, bought 0 shares for 0.00 yuan, sold 200 for 2,200.00 yuan");
    EXPECT_EQ(column("pastOrders", 7), QStringList{"answered by the server"});
    EXPECT_TRUE(column("pastDays", 0).contains("2024-01-03"));

    setDate(1);
    find<QDateEdit>("pastDate")->setDate(QDate(1980, 1, 1));
    ASSERT_TRUE(until([&] { return rows("pastOrders").rowCount() == 0 && enabled("pastAsk"); }));
    press("pastAsk");
    ASSERT_TRUE(until([&] { return server().contains("deals not answered: the first day is"); }))
        << server().toStdString();
}

}  // namespace

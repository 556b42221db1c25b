#include "desk/faultlog.h"
#include "tests/desk/deskfixture.h"

namespace {

using support::DeskTest;
using Manager = TC::CLinkageManager;

/// What the desk hears itself of the day: faults, times, and balances without a book.
class DeskEvents : public DeskTest {
protected:
    QStringList events() {
        QStringList texts;
        for (int row = 0; row < rows("events").rowCount(); ++row)
            texts << QString("%1 %2").arg(rows("events").index(row, 0).data().toString(),
                                          rows("events").index(row, 1).data().toString());
        return texts;
    }

    /// Plays a day of an account A with 1,000 of a stock at 10.00, and waits for `balances` rows.
    void play(const QString& lines, bool guard = false, int balances = 0) {
        const QString day =
            R"({"do":"config","now":"2024-01-02 09:30:00","exchange":"paper","scheduler":true,"options":{"guard":%1}}
{"do":"instrument","market":"SH","code":"600000","name":"X"}
{"do":"account","key":"A","name":"Main"}
{"do":"position","account":"A","key":1,"market":"SH","code":"600000","volume":900,"available":700,"cost":9.5,"push":false}
{"do":"init"}
{"do":"price","market":"SH","code":"600000","last":10,"asks":[[10,90000]],"bids":[[9.99,90000]]}
{"do":"send","account":"A","strategy":"S","side":"buy","volume":1050,"price":10,"market":"SH","code":"600000"}
{"do":"send","account":"A","strategy":"S","side":"buy","volume":300,"price":9,"market":"SH","code":"600000"}
%2)";
        open(day.arg(guard ? "true" : "false", lines));
        ASSERT_TRUE(untilEnded());
        ASSERT_TRUE(until([&] { return rows("balances").rowCount() == balances; }));
    }
};

TEST(DeskFaults, TheLevelTellsAFaultAndTheOperationItsKind) {
    using desk::EFaultLine;
    struct Case {
        ELogLevel level;
        const char* operation;
        EFaultLine kind;
    } const cases[] = {
        {ELogLevel::Error, "TC::CLinkageManager::tryAutoBalance", EFaultLine::Service},
        {ELogLevel::Warning, "TC::CLinkageManager::tryAutoBalance", EFaultLine::None},
        {ELogLevel::Error, "TC::CBookWriter", EFaultLine::Disk},
        {ELogLevel::Warning, "TC::CLinkageManager::readFromFile", EFaultLine::Disk},
        {ELogLevel::Info, "TC::CLinkageManager::writedata", EFaultLine::None}};
    for (const auto& [level, operation, kind] : cases)
        EXPECT_EQ(desk::faultOf({level, operation, "cannot threw saved"}), kind) << operation;
}

TEST_F(DeskEvents, FaultsOfServicesAndDiskAndTheEndAreListed) {
    play(R"({"do":"fault","service":"accountData","kind":"throw","times":2}
{"do":"call","op":"requestAccount","args":["A"]}
{"do":"advance","seconds":30}
{"do":"call","op":"requestAccount","args":["A"]}
{"do":"advance","seconds":30}
{"do":"disk","step":"write","after":0,"error":"ENOSPC","times":1000}
{"do":"call","op":"addHistoryLinkdata","args":["A","S"]}
{"do":"call","op":"writedata","args":[false]}
{"do":"advance","seconds":60}
{"do":"reject","account":"A","times":1}
{"do":"send","account":"A","strategy":"S","side":"buy","volume":100,"price":9,"market":"SH","code":"600000"}
{"do":"advance","seconds":90}
)");
    ASSERT_TRUE(until([&] { return events().size() > 3; }));
    const QString all = events().join('\n');
    EXPECT_TRUE(events().front().startsWith("09:33:30 The recording was played to its end"))
        << all.toStdString();
    EXPECT_TRUE(all.contains("09:30:30 Service fault: ")) << all.toStdString();
    EXPECT_EQ(all.count("Service fault"), 1) << all.toStdString();
    EXPECT_TRUE(all.contains("(2 times since 09:30:00)")) << "one line for the same fault";
    EXPECT_TRUE(all.contains("Disk fault: TC::CLinkageManager::writedata: ")) << all.toStdString();
    EXPECT_EQ(all.count("09:32:00 Rejected: an order of A in SH600000"), 1) << all.toStdString();
}

TEST_F(DeskEvents, OrdersShowWhenTheyCameAndMarketOrdersAreNoPriceOfZero) {
    play(R"({"do":"advance","seconds":61}
{"do":"order","account":"A","key":77,"market":"SH","code":"600000","side":"sell","price":0,"volume":100,"status":50,"strategy":"S"}
{"do":"advance","seconds":60}
)");
    clickRow("pairs", "A\nS");
    ASSERT_TRUE(until([&] { return rows("orders").rowCount() == 3; }));
    expectCells(rows("orders"), "77", {{2, "market"}, {6, "09:31:01"}});
    EXPECT_EQ(cell("running", "A\n77", 0), "09:31:01");
    EXPECT_EQ(cell("levels", "0.0000", 0), "market");
    EXPECT_EQ(cell("levels", "0.0000", 2), "Sell");
    const auto tip = rows("orders").headerData(6, Qt::Horizontal, Qt::ToolTipRole).toString();
    EXPECT_TRUE(tip.contains("no time")) << tip.toStdString();
}

TEST_F(DeskEvents, FundsAndPositionsAreThoseOfTheRecords) {
    play(R"({"do":"price","market":"SH","code":"600000","last":10.5,"asks":[[10.51,100]],"bids":[]}
{"do":"advance","seconds":10}
)");
    clickRow("pairs", "A\n");
    ASSERT_TRUE(until([&] { return rows("positions").rowCount() == 1; }));
    expectCells(rows("positions"), "SH600000",
                {{1, "X"},
                 {2, "900"},
                 {3, "700"},
                 {4, "9.50"},
                 {6, "9,450"},
                 {7, "+900.00"},
                 {8, "1,050"}});
    // 1,050 bought at 10.00, now 10.50; 300 rest at 9.00
    expectCells(rows("funds"), "A",
                {{1, "9,450"}, {2, "+900.00"}, {3, "+525.00"}, {4, "2,700"}, {5, "10,500"}});
}

/// Step by step: what is asked for, cancelled, sent and filled, and what remains and why.
TEST_F(DeskEvents, BalancesWithoutTheGuardAreFollowedFromOutside) {
    play(R"({"do":"call","op":"runAutoBalance","args":["A","S"]}
{"do":"advance","seconds":60}
)",
         false, 1);
    expectCells(rows("balances"), "1",
                {{1, "09:30:00"},
                 {2, "the recording"},
                 {3, "A"},
                 {5, "ended"},
                 {6, "1"},
                 {7, "1,000"},
                 {8, "1,000"},
                 {9, "SH600000 +50: rounded to whole lots"}});
    const QString all = events().join('\n');
    for (const char* step :
         {"09:30:00 Balance 1 of A / S (the recording): asked",
          "09:30:05 Balance 1 of A / S (the recording): cancelling",
          "09:30:06 Balance 1 of A / S (the recording): sent", "(the recording): ended"})
        EXPECT_TRUE(all.contains(step)) << step << "\n" << all.toStdString();
}

TEST_F(DeskEvents, BalancesWithoutTheGuardTellHowFarTheyAre) {
    const char* const moments[][3] = {
        {"3", "asked, starts in 2 s", ""},
        {"8", "cancelling: 0 of 1 done", ""},
        {"38", "sent, filled 0 of 1,000", "SH600000 +1,050: resting"},
    };
    for (const auto& [seconds, state, remains] : moments) {
        m_window.reset();
        m_engine.reset();
        QString lines = R"({"do":"call","op":"runAutoBalance","args":["A","S"]}
{"do":"advance","seconds":2}
{"do":"silent","seconds":100}
{"do":"advance","seconds":%1}
)";
        play(lines.arg(QString(seconds).toInt() - 2), false, 1);
        expectCells(rows("balances"), "1", {{5, state}, {9, remains}});
    }
}

/// The same day with and without a book: who asks is told in both.
TEST_F(DeskEvents, WhoAskedForABalanceIsToldWithTheGuardAndWithout) {
    for (const bool guard : {true, false}) {
        m_window.reset();
        m_engine.reset();
        QFile(m_dir.filePath("data/Balance/balances-20240102.jsonl")).remove();
        play(R"({"do":"call","op":"addBalanceTime","args":["A:S","093100"]}
{"do":"call","op":"addBalanceTime","args":["A:","093200"]}
{"do":"advance","seconds":180}
{"do":"call","op":"runAutoBalance","args":["A","S"]}
{"do":"advance","seconds":60}
)",
             guard, 3);
        m_engine->setSpeed(100);
        clickRow("pairs", "A\nS");
        ASSERT_TRUE(until([&] { return enabled("balanceNow"); }));
        press("balanceNow");
        press(*dialog("planDialog"), "planAccept");
        ASSERT_TRUE(until([&] { return rows("balances").rowCount() == 4; })) << guard;
        const char* const askers[] = {"the strategy's balance time", "the account's balance time",
                                      "the recording", "the trader"};
        for (int number = 1; number <= 4; ++number)
            EXPECT_EQ(cell("balances", QString::number(number), 2), askers[number - 1]) << guard;
    }
}

/// Another desk on the same day reads in the book who had asked.
TEST_F(DeskEvents, TheBookTellsWhoAskedBeforeTheDeskWasThere) {
    play(R"({"do":"call","op":"addBalanceTime","args":["A:S","093100"]}
{"do":"advance","seconds":120}
{"do":"call","op":"runAutoBalance","args":["A","S"]}
{"do":"advance","seconds":20}
)",
         true, 2);
    m_window.reset();
    m_engine.reset();
    play({}, true, 2);
    EXPECT_EQ(cell("balances", "1", 2), "the strategy's balance time");
    EXPECT_EQ(cell("balances", "2", 2), "the trader");
}

}  // namespace

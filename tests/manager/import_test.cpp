#include "linkage/store/filedrecords.h"
#include "linkage/store/historyrequest.h"
#include "linkage/store/importreport.h"
#include "tests/support/fixture.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QTimer>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace importtest {
namespace {

using tests::Fixture;

QString sample(const char* name) {
    return QStringLiteral(LINKAGE_SOURCE_DIR "/tests/data/import/") + name;
}

class Import : public testing::Test {
protected:
    Import() {
        f.account({.key = "A", .id = "0010001"});
        f.account({.key = "B", .id = "20002"});
        f.init();
        f.forget();
    }

    QString csv(const QByteArray& rows,
                const QByteArray& head = "资金账号,成交日期,证券代码,买卖,价格,数量,成交编号\n") {
        const QString path = f.dataDir() + "/statement.csv";
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(head + rows);
        return path;
    }

    TC::ImportReport take(const QByteArray& rows) { return f.manager().importData(csv(rows)); }

    static std::string countsOf(const TC::ImportReport& report) {
        return fmt::format("{} read, {} taken, {} added, {} skipped", report.read, report.taken,
                           report.added, report.skippedCount());
    }

    std::size_t dealsOf(const std::string& account, const std::string& date) {
        return f.manager().getAccountDeals(account, Fixture::day(date)).size();
    }

    Fixture f;
};

TEST_F(Import, FilesDealsOfTheNamedAccountOnce) {
    const auto first = f.manager().importData(sample("deals.xls"));
    ASSERT_TRUE(first.ok()) << first.refusal.toStdString();
    EXPECT_EQ(first.kind, TC::ImportReport::Kind::Deals);
    EXPECT_EQ(countsOf(first), "7 read, 5 taken, 5 added, 2 skipped");
    EXPECT_EQ(dealsOf("A", "20230201"), 3u);  // two of them equal
    EXPECT_EQ(dealsOf("A", "20230202"), 2u);
    EXPECT_EQ(dealsOf("B", "20230201"), 0u);

    const auto details =
        f.manager().getDealDetails(Fixture::day("20230201"), "SZ000878", {"A", "B"});
    ASSERT_EQ(details.size(), 1u);
    for (const auto& [key, deal] : details.at("A")) {
        EXPECT_EQ(key, deal->recordKey());
        EXPECT_TRUE(deal->m_bImported);
        EXPECT_EQ(deal->m_pAccountInfo->m_strKey, "A");
        EXPECT_EQ(deal->m_nVolume, 1000);
    }

    // The same deals again, in the same file and in one of another format.
    for (const char* file : {"deals.xls", "deals_text.xls", "deals.xlsx", "deals.ods"}) {
        EXPECT_EQ(countsOf(f.manager().importData(sample(file))),
                  "7 read, 5 taken, 0 added, 2 skipped")
            << file;
    }
    EXPECT_EQ(dealsOf("A", "20230201"), 3u);
}

TEST_F(Import, ChangesNoFigureAndAnnouncesNothing) {
    f.deal({.account = "A", .key = 5, .strategy = "S"});
    const auto before = f.state();
    f.forget();
    take("10001,20240102,600000,买入,10,500,N1\n");
    const auto after = f.state();
    EXPECT_EQ(f.manager().getAccountDeals("A", Fixture::day("20240102")).size(), 2u);
    EXPECT_EQ(after.buySellVolumes, before.buySellVolumes);
    EXPECT_EQ(after.buySellAmounts, before.buySellAmounts);
    EXPECT_EQ(after.tradeStatDatas, before.tradeStatDatas);
    EXPECT_EQ(after.dealAmplitudes, before.dealAmplitudes);
    EXPECT_TRUE(f.signalNames().empty());
    ASSERT_EQ(f.logTexts().size(), 1u);
    EXPECT_TRUE(
        f.logTexts()[0].ends_with("/statement.csv: 1 rows read, 1 taken, 1 new, 0 skipped"));
}

TEST_F(Import, LeavesOutWhatIsKnownOrNotFollowed) {
    f.instrument({.stock = "SH204001", .types = {vexservice::STOCKTYPE_REPURCHASE}});
    f.deal({.account = "A", .key = 5, .volume = 100, .dealId = "N1"});
    const auto report = take(
        "10001,20240102,600000,买入,10,100,N1\n"
        "10001,20240102,600000,卖出,10,100,N1\n"
        "10001,20240102,204001,卖出,2,100,N2\n"
        "777,20240102,600000,买入,10,100,N3\n"
        "20002,20240102,600000,买入,10,x,N4\n"
        "20002,20240102,600000,买入,10,100,N5\n");
    EXPECT_EQ(countsOf(report), "6 read, 2 taken, 2 added, 4 skipped");
    std::string skipped;
    for (const auto& row : report.skipped) {
        skipped += fmt::format("{}: {}\n", row.row, row.reason.toStdString());
    }
    EXPECT_EQ(skipped,
              "2: already reported by the trading system\n"
              "4: repurchase or subscription, which is not followed\n"
              "5: account 777 is not followed\n"
              "6: volume is not a number: x\n");
    EXPECT_EQ(dealsOf("A", "20240102"), 2u);
    EXPECT_EQ(dealsOf("B", "20240102"), 1u);
}

TEST_F(Import, WhatWasReportedSinceAnImportWasTakenBackIsKnown) {
    const QByteArray row = "10001,20240102,600000,买入,10,100,7\n";
    EXPECT_TRUE(f.manager().undoImport(take(row).number));
    f.deal({.account = "A", .key = 7});
    EXPECT_EQ(countsOf(take(row)), "1 read, 0 taken, 0 added, 1 skipped");
    EXPECT_EQ(dealsOf("A", "20240102"), 1u);
}

TEST_F(Import, ALaterListCorrectsTheVolumeOfAnOrderUntilItIsTakenBack) {
    const QByteArray head =
        "资金账号,委托日期,证券代码,买卖,委托价格,委托数量,成交数量,委托状态,委托编号\n";
    const auto list = [&](const char* volume) {
        return f.manager().importData(
            csv("10001,20231229,600000,买入,10," + QByteArray(volume) + ",0,已撤,7\n", head));
    };
    const auto volumes = [&] {
        std::string text;
        for (const auto& [key, order] :
             f.manager().getAccountOrders("A", Fixture::day("20231229"))) {
            text += fmt::format("{} ", order->m_nVolume);
        }
        return text;
    };
    list("1000");
    const int number = list("800").number;
    EXPECT_EQ(volumes(), "800 ");
    EXPECT_TRUE(f.manager().undoImport(number));
    EXPECT_EQ(volumes(), "1000 ");
}

TEST_F(Import, AServiceThatThrowsLeavesNothingBehind) {
    const QByteArray row = "10001,20231229,600123,买入,10,100,7\n";
    f.client().setFault(paper::EService::Instrument, paper::EFault::Throw, 1);
    const auto failed = take(row);
    EXPECT_EQ(failed.refusal, "a service of the client failed");
    EXPECT_TRUE(f.manager().getImports().empty());
    EXPECT_EQ(dealsOf("A", "20231229"), 0u);
    EXPECT_EQ(take(row).added, 1);
}

TEST_F(Import, WhatTheTradingSystemReportsLaterTakesThePlaceOfWhatWasImported) {
    const auto show = [](const auto& records) {
        std::string text;
        for (const auto& [key, record] : records) text += record->m_bImported ? 'i' : 'r';
        return text;
    };
    const auto deals = [&](const char* date) {
        return show(f.manager().getAccountDeals("A", Fixture::day(date)));
    };
    const QByteArray rows =
        "10001,20240102,600000,买入,10,100,007\n10001,20240102,600000,买入,10,100,8\n"
        "10001,20231229,600000,买入,10,100,7\n10001,20231229,600000,买入,10,100,\n";
    EXPECT_EQ(take(rows).added, 4);
    f.deal({.account = "B", .key = 7});
    f.deal({.account = "A", .key = 9, .side = tests::Side::Sell, .dealId = "7"});
    f.deal({.account = "A", .key = 10, .volume = 200, .dealId = "7"});
    EXPECT_EQ(deals("20240102"), "rrii") << "another account, side or volume";
    f.deal({.account = "A", .key = 7});
    EXPECT_EQ(deals("20240102"), "rrri");
    EXPECT_EQ(deals("20231229"), "ii");
    f.client().setServerHistory("A", "20231229",
                                {.deals = {f.makeDeal({.key = 7, .tradeDate = "20231229"})}});
    f.manager().requestAccountDeals("A", "20231229", "20231229");
    f.settle();
    EXPECT_EQ(deals("20231229"), "ri") << "without a number nothing tells a deal from another";
    EXPECT_EQ(countsOf(take(rows)), "4 read, 2 taken, 0 added, 2 skipped");
    EXPECT_EQ(deals("20240102") + deals("20231229"), "rrriri");

    // An order's number may come after its first report.
    const auto orders = [&] {
        return show(f.manager().getAccountOrders("A", Fixture::day("20240102")));
    };
    f.manager().importData(csv("10001,20240102,600000,买入,10,100,5\n",
                               "资金账号,委托日期,证券代码,买卖,委托价格,委托数量,委托编号\n"));
    f.order({.account = "A", .key = 1});
    EXPECT_EQ(orders(), "ri");
    f.order({.account = "A", .key = 1, .sysId = "5"});
    EXPECT_EQ(orders(), "r");
}

TEST_F(Import, AnnouncesNewStocksOfTheRunningDayAndBringsThemBack) {
    take("10001,20231229,600036,买入,10,100,1\n");
    EXPECT_TRUE(f.signalNames().empty());
    const QByteArray row = "10001,20240102,600036,买入,10,100,1\n";
    take(row);
    EXPECT_EQ(f.signalNames(), (std::vector<std::string>{"stocksChanged"}));
    EXPECT_EQ(f.manager().getStocks(), (std::set<std::string>{"SH600036"}));
    f.forget();
    take(row);
    EXPECT_TRUE(f.signalNames().empty());
    f.manager().requestAccount("A");
    f.settle();
    EXPECT_EQ(dealsOf("A", "20240102"), 1u);
    f.deal({.account = "A", .key = 1, .stock = "SH600036"});
    f.manager().requestAccount("A");
    f.settle();
    EXPECT_EQ(dealsOf("A", "20240102"), 1u) << "reported meanwhile";
}

TEST_F(Import, StandsInForReportsThatAreNotKeptAnyMore) {
    f.release();
    f.manager().setOptions({.keepDays = 1});
    f.init();
    f.deal({.account = "A", .key = 1, .stock = "SH600036", .dealId = "1"});
    f.deal({.account = "A", .key = 2, .stock = "SH600036", .dealId = "2"});
    take("10001,20240102,600036,买入,10,100,1\n");
    const auto sources = [&] {
        std::string text;
        for (const auto& [key, source] : f.manager().getRecordSources(
                 TC::EHistoryRecords::Deals, "A", Fixture::day("20240102"))) {
            text += "rai"[static_cast<int>(source.kind)];
        }
        return text;
    };
    f.newTradingDate("20240103");
    f.deal({.account = "A", .key = 3, .stock = "SH600036"});
    EXPECT_EQ(sources(), "rr");
    f.newTradingDate("20240104");
    EXPECT_EQ(sources(), "i");
    EXPECT_EQ(dealsOf("A", "20240103"), 1u);
}

TEST_F(Import, IsSeenBeforeAndTakenBackAndSurvivesARestart) {
    const auto daysOf = [](const TC::ImportReport& report) {
        std::string text;
        for (const auto& day : report.days) {
            text += fmt::format("{} {}: {} of {:.0f} and {:.0f}, new {} matched {} reported {}\n",
                                day.account, day.date, day.records, day.bought, day.sold, day.added,
                                day.matched, day.reported);
        }
        return text;
    };
    const QByteArray rows =
        "10001,20231229,600036,买入,10,100,1\n10001,20231229,600036,卖出,11,200,\n"
        "20002,20231229,600036,买入,10,100,1\n10001,20240102,600000,买入,10,100,5\n";
    f.deal({.account = "A", .key = 5});
    const auto before = f.state();
    const auto preview = f.manager().importPreview(csv(rows));
    EXPECT_EQ(countsOf(preview), "4 read, 3 taken, 3 added, 1 skipped");
    EXPECT_EQ(daysOf(preview),
              "A 20231229: 2 of 1000 and 2200, new 2 matched 0 reported 0\n"
              "A 20240102: 1 of 1000 and 0, new 0 matched 0 reported 1\n"
              "B 20231229: 1 of 1000 and 0, new 1 matched 0 reported 0\n");
    EXPECT_EQ(f.state().dealDetails, before.dealDetails);
    EXPECT_TRUE(f.manager().getImports().empty());

    const auto report = take(rows);
    EXPECT_EQ(countsOf(report), countsOf(preview));
    EXPECT_EQ(daysOf(report), daysOf(preview));
    EXPECT_EQ(report.number, 1);
    // Without numbers the same deals are matched, and stay when the first import goes.
    const auto second = take("10001,20231229,600036,买入,10,100,\n");
    EXPECT_EQ(daysOf(second), "A 20231229: 1 of 1000 and 0, new 0 matched 1 reported 0\n");
    EXPECT_EQ(second.number, 2);
    const auto restart = [&] {
        f.release();
        f.init();
    };
    restart();
    EXPECT_EQ(f.manager().getImports().size(), 2u);
    EXPECT_EQ(dealsOf("A", "20231229"), 2u);
    EXPECT_TRUE(f.manager().undoImport(1));
    EXPECT_FALSE(f.manager().undoImport(1));
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(dealsOf("A", "20231229"), 1u);
        EXPECT_EQ(dealsOf("B", "20231229"), 0u);
        EXPECT_EQ(dealsOf("A", "20240102"), 1u) << "as it is reported";
        restart();
    }
}

// More than a hold of the lock files, looks for or takes away.
TEST_F(Import, TakesBackManyRowsOfADayThatHasMore) {
    constexpr int ROWS = 700;
    QByteArray own;
    QByteArray again;
    for (int row = 1; row <= ROWS; ++row) {
        const char* const stock = row % 2 ? "600000" : "600036";
        const std::string common = fmt::format("10001,20240102,{},买入,10,{},", stock, 100 * row);
        own += QByteArray::fromStdString(fmt::format("{}{}\n", common, row));
        if (row % 2) again += QByteArray::fromStdString(common + "\n");
    }
    f.deal({.account = "A", .key = 1, .stock = "SH600036", .volume = 50, .dealId = "T1"});
    const int number = take(own).number;
    EXPECT_EQ(countsOf(take(again)), "350 read, 350 taken, 0 added, 0 skipped");
    EXPECT_EQ(dealsOf("A", "20240102"), 701u);
    f.deal({.account = "A", .key = 2, .price = 10, .volume = 100, .dealId = "1"});
    EXPECT_EQ(dealsOf("A", "20240102"), 701u) << "as it is reported";
    EXPECT_TRUE(f.manager().undoImport(number));
    EXPECT_EQ(dealsOf("A", "20240102"), 351u) << "what the second list tells, and a report";
    EXPECT_EQ(f.manager().checkIntegrity(), std::vector<std::string>());
}

TEST_F(Import, TakesOnlyWhatItsPreviewHasShown) {
    const auto today = [this](const char* rows) {
        return csv(rows, "证券代码,买卖,价格,数量,成交编号,资金账号\n");
    };
    const QString path = today("600000,买入,10,100,1,10001\n600000,买入,10,200,2,10001\n");
    TC::ImportTerms terms;
    const auto show = [&] { terms.shown = f.manager().importPreview(path, terms); };
    const auto expectOutdated = [&](const char* why) {
        const auto report = f.manager().importData(path, terms);
        EXPECT_TRUE(report.isOutdated) << why;
        EXPECT_EQ(report.number, 0);
        EXPECT_TRUE(f.manager().getImports().empty()) << why;
    };
    show();
    f.deal({.account = "A", .key = 1, .volume = 100, .dealId = "1"});
    expectOutdated("a report");
    EXPECT_EQ(dealsOf("A", "20240102"), 1u);
    show();
    today("600000,买入,10,200,2,10001\n600000,买入,10,100,1,10001\n");
    expectOutdated("the same deals in another order");
    show();
    f.newTradingDate("20240103");
    expectOutdated("rows without a date are of the new day");
    EXPECT_EQ(dealsOf("A", "20240103"), 0u);
    show();
    EXPECT_EQ(countsOf(f.manager().importData(path, terms)), countsOf(*terms.shown));
    EXPECT_EQ(dealsOf("A", "20240103"), 2u);

    // A report that comes while rows are filed.
    f.manager().undoImport(f.manager().getImports().at(0).number);
    today("600036,买入,10,100,1,10001\n");
    show();
    boost::signals2::connection once = f.manager().sigStocksChanged.connect([&] {
        once.disconnect();
        f.deal({.account = "A", .key = 9, .stock = "SH600036", .volume = 100, .dealId = "1"});
    });
    expectOutdated("what was filed differs");
    EXPECT_EQ(dealsOf("A", "20240103"), 1u) << "the report alone";
}

TEST_F(Import, TellsWhichImportFiledARecord) {
    const auto origins = [&](const char* date) {
        std::string text;
        for (const auto& [key, source] :
             f.manager().getRecordSources(TC::EHistoryRecords::Deals, "A", Fixture::day(date))) {
            text += fmt::format("{}{} ", "rai"[static_cast<int>(source.kind)], source.import);
        }
        return text;
    };
    f.deal({.account = "A", .key = 5});
    const auto first =
        take("10001,20240102,600000,买入,10,300,1\n10001,20231229,600000,买入,10,300,1\n");
    take("10001,20231229,600000,买入,10,300,1\n10001,20231229,600000,买入,10,400,2\n");
    f.client().setServerHistory("A", "20231229",
                                {.deals = {f.makeDeal({.key = 7, .tradeDate = "20231229"})}});
    f.manager().requestAccountDeals("A", "20231229", "20231229");
    f.settle();
    EXPECT_EQ(origins("20240102"), "r0 i1 ");
    EXPECT_EQ(f.manager().getFiledDays("A"),
              (std::set<int>{Fixture::day("20231229"), Fixture::day("20240102")}));
    EXPECT_TRUE(f.manager().getFiledDays("B").empty());
    const auto sorted = [](std::string text) {
        std::sort(text.begin(), text.end());
        return text;
    };
    EXPECT_EQ(sorted(origins("20231229")), sorted("a0 i1 i2 "));
    f.manager().undoImport(first.number);
    EXPECT_EQ(sorted(origins("20231229")), sorted("a0 i2 i2 ")) << "the second tells it as well";
    f.manager().undoImport(2);
    EXPECT_EQ(origins("20231229"), "a0 ");
    EXPECT_EQ(origins("20240102"), "r0 ");
}

TEST_F(Import, TheUserCanSayWhoseAFileIs) {
    const QString orders = sample("orders_gb18030.csv");
    EXPECT_TRUE(f.manager().importPreview(orders).needsAccount);
    EXPECT_EQ(f.manager().importPreview(orders, {.account = "C"}).refusal,
              "account C is not followed");
    EXPECT_EQ(f.manager().importData(orders, {.account = "B"}).taken, 6);
    EXPECT_EQ(f.manager().getAccountOrders("B", Fixture::day("20230203")).size(), 6u);
    // What a file names is not overruled, unless nobody follows it.
    EXPECT_EQ(f.manager().importPreview(sample("deals.xls"), {.account = "B"}).days.at(0).account,
              "A");
    const auto other =
        f.manager().importPreview(csv("777,20240102,600000,买入,10,100,N3\n"), {.account = "B"});
    EXPECT_EQ(other.notes.join('|'), "the file names account 777; it was taken for B");
    const auto two = f.manager().importPreview(
        csv("777,20240102,600000,买入,10,100,1\n778,20240102,600000,买入,10,100,2\n"),
        {.account = "B"});
    EXPECT_EQ(two.taken, 0);
    EXPECT_FALSE(two.needsAccount) << "of several accounts no one can be chosen";
}

TEST_F(Import, ListsSoManySkippedRowsAndCountsTheRest) {
    const int bad = static_cast<int>(TC::ImportReport::LISTED_ROWS) + 2;
    const auto report = take(QByteArray("10001,x,600000,买入,10,100,1\n").repeated(bad) +
                             "10001,20240102,600000,买入,10,100,1\n");
    EXPECT_EQ(report.skipped.size(), TC::ImportReport::LISTED_ROWS);
    EXPECT_EQ(report.skippedCount(), bad);
    EXPECT_EQ(report.taken, 1);
    EXPECT_TRUE(report.notes.contains("2 more rows were left out than are listed"));
}

TEST(ImportIntoTheOnlyAccount, FilesOrdersWithoutRunningThem) {
    tests::Ready f;
    const auto report = f.manager().importData(sample("orders_gb18030.csv"));
    ASSERT_TRUE(report.ok()) << report.refusal.toStdString();
    EXPECT_EQ(report.kind, TC::ImportReport::Kind::Orders);
    EXPECT_EQ(report.taken, 6);
    EXPECT_EQ(report.skipped.size(), 3u);
    EXPECT_EQ(f.manager().getAccountOrders("A", Fixture::day("20230203")).size(), 6u);
    EXPECT_EQ(f.manager().getRunningOrders("A", ""), 0);
}

TEST_F(Import, TakesNothingOfAnUnreadableFile) {
    const auto before = f.state();
    const std::pair<QString, QString> rows[] = {
        {f.dataDir() + "/missing.xls", "the file does not exist"},
        {f.dataDir(), "this is not a plain file"},
        {sample("orders_gb18030.csv"), "the file names no account, and several are followed"},
        {sample("README.md"), "no row of column names was found in the first 50 rows"},
        {csv("777,20240102,600000,买入,10,100,N3\n"),
         "the file is of account 777, which is not followed"},
    };
    for (const auto& [path, refusal] : rows) {
        const auto report = f.manager().importData(path);
        EXPECT_EQ(report.refusal.toStdString(), refusal.toStdString());
        EXPECT_EQ(countsOf(report), "0 read, 0 taken, 0 added, 0 skipped");
    }
    EXPECT_EQ(f.state().dealDetails, before.dealDetails);
}

TEST_F(Import, AsksForAFileWithTheDocumentedFilter) {
    QStringList filters;
    QTimer::singleShot(0, qApp, [&] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        filters = dialog->nameFilters();
        dialog->reject();
    });
    EXPECT_EQ(f.manager().importData().refusal, "no file was chosen");
    EXPECT_EQ(filters, (QStringList{"Excel Files(*.xls *.xlsx)", "Excel Files(*.csv)"}));
}

}  // namespace
}  // namespace importtest

#include "linkage/store/import/statement.h"
#include "linkage/store/import/accountchoice.h"
#include "linkage/store/import/cellvalues.h"
#include "linkage/store/import/readers.h"

#include <QFile>
#include <QTextCodec>

#include <fmt/format.h>
#include <boost/make_shared.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <set>

namespace statementtest {
namespace {

using namespace TC::statement;

/// A cell as the tables below write it.
struct CellValue : Value {
    CellValue(const char* words) : Value{false, 0.0, QString::fromUtf8(words)} {}
    CellValue(double figure) : Value{true, figure, {}} {}
};

struct Alike {
    std::string expected;
    std::vector<CellValue> cells;
};

template <class Read>
void expectAlike(const std::vector<Alike>& rows, Read read) {
    for (const Alike& row : rows) {
        for (const CellValue& cell : row.cells) {
            EXPECT_EQ(read(cell), row.expected) << cell.display().toStdString();
        }
    }
}

Statement read(const std::string& csv) {
    return readStatement(readText(QByteArray::fromStdString(csv)), "20240102");
}

/// Every row in one line: what was taken, or why not.
std::string shown(const Statement& statement) {
    std::vector<std::string> lines;
    for (const auto& row : statement.deals) {
        const auto& deal = *row.record;
        const bool buys = deal.m_eDirection == vexservice::ENTRUST_BUY;
        lines.push_back(fmt::format("{} {} {}{} {} {}@{}={:.2f}", deal.m_strTradeDate,
                                    deal.m_strTradeTime, deal.m_strMarket, deal.m_strCode,
                                    buys ? "B" : "S", deal.m_nVolume, deal.m_dPrice,
                                    deal.m_dAmount));
    }
    for (const auto& row : statement.skipped) {
        lines.push_back(fmt::format("row {}: {}", row.row, row.reason.toStdString()));
    }
    return fmt::format("{}", fmt::join(lines, "; "));
}

/// The same of a file, or why it was refused.
std::string shown(const QByteArray& csv) {
    try {
        return shown(readStatement(readText(csv), "20240102"));
    } catch (const Refusal& why) {
        return why.text.toStdString();
    }
}

TEST(CellValues, Numbers) {
    const auto shownNumber = [](const Value& cell) {
        const auto number = cellNumber(cell);
        return number ? QString::number(*number, 'g', 12).toStdString() : "none";
    };
    expectAlike({{"1234567.5", {"1,234,567.50"}},
                 {"12.5", {" ￥１２．５ "}},
                 {"-100", {"-100股", -100.0}},
                 {"0.5", {"+.5"}},
                 {"1500", {"1.5E3"}},
                 {"none", {"1,23", "12,3456", "1.2.3", "0x10", "nan", "1e999", "--"}},
                 {"none", {"5手", "3万", "$5", "∞", std::numeric_limits<double>::infinity()}}},
                shownNumber);
}

TEST(CellValues, Dates) {
    const auto shownDate = [](const Value& cell) {
        const auto when = dateOf(cell);
        return when ? when->date + " " + when->time : "none";
    };
    expectAlike({{"20230201 ", {"20230201", "2023-2-1", "2023年2月1日", "2023.02.01", 20230201}},
                 {"20230201 ", {44958, "44958"}},  // days since the last day of 1899
                 {"20230201 120000", {44958.5}},
                 {"20230201 094813", {"2023/02/01 9:48:13", "20230201 09:48:13"}},
                 {"20230201 094813", {"20230201094813"}},
                 {"none", {"20230230", "2023-13-01", "合计", 99999999, -1}},
                 {"none", {"1/2/2023"}},               // day or month first?
                 {"none", {"19891231", "20380101"}}},  // no exchange; beyond a day key
                shownDate);
    EXPECT_EQ(dateOf(CellValue(43496), true)->date, "20230201") << "1462 days later epoch";
}

TEST(CellValues, Times) {
    expectAlike({{"094813", {"9:48:13", "094813", 94813, "09481355", "94813123", "9:48:13.250"}},
                 {"094813", {"2023-02-01 9:48:13", "9时48分13秒", "上午 9:48:13", "9:48:13 am"}},
                 {"143000", {1430, "1430", 143000, "143000", "14:30", "14:30:00", "１４：３０"}},
                 {"143000", {14.5 / 24, "0.604166666666667", "44958.6041666667", "14点30分"}},
                 {"143000", {"2:30 PM", "下午2:30", "2023/2/1 下午 2:30:00", "14300000"}},
                 {"093000", {930, "930", "0930", 93000, "9:30", "09:30"}},
                 {"093015", {93015, "93015", "9:30:15"}},
                 {"123000", {1230, "12:30 PM", "下午12:30"}},
                 {"003000", {"12:30 AM", "00:30"}},
                 {"120000", {0.5, "0.5", ".5"}},
                 {"000000", {0.0, "0"}},
                 {"180000", {44958.75}},
                 {"", {"25:00:00", 246060, "", "13:00 PM", "0:30 AM", "14:60", 1461, "1461"}},
                 {"", {"20230201", 20230201, 44958, "44958", "9", 14, "noon", "14:3"}}},
                timeOf);
}

TEST(CellValues, Instruments) {
    const char* const SHANGHAI = "A123456789";
    const char* const SHENZHEN = "0123456789";
    // Market, holder, codes, and what each of the codes is taken for.
    using Codes = std::vector<CellValue>;
    const std::tuple<const char*, const char*, Codes, std::string> rows[] = {
        {"", "", {878, "878", "sz000001"}, "SZ000878 SZ000878 SZ000001 "},
        {"", "", {"159915", "300750", "200002"}, "SZ159915 SZ300750 SZ200002 "},
        {"", "", {"600519", "688981", "900901"}, "SH600519 SH688981 SH900901 "},
        {"", "", {"513050", "113052", "127030"}, "SH513050 SH113052 SZ127030 "},
        {"", "", {"430047", "920002"}, "BJ430047 BJ920002 "},
        {"", "", {"600000.SH", "000001.XSHE"}, "SH600000 SZ000001 "},
        // both exchanges have bonds of 112
        {"", SHANGHAI, {"113052", "112001"}, "SH113052 SH112001 "},
        {"", SHENZHEN, {"112001", "131810"}, "SZ112001 SZ131810 "},
        // the code leaves no doubt
        {"", SHENZHEN, {"600519", "204001", "830799"}, "SH600519 SH204001 BJ830799 "},
        {"深圳A股", "", {"131810"}, "SZ131810 "},
        // five digits with their zeros, an option, a future
        {"", "", {"00700", "10004321", "IF2303"}, "none none none "},
        {"沪港通", "", {700}, "none "},
        {"", "", {0.0, -600519, 600519.5}, "none none none "},
    };
    for (const auto& [market, holder, codes, expected] : rows) {
        std::string seen;
        for (const CellValue& code : codes) {
            const auto found = instrumentOf(code, QString::fromUtf8(market), holder);
            seen += (found ? found->market + found->code : "none") + " ";
        }
        EXPECT_EQ(seen, expected);
    }
}

TEST(Statement, TakesDealsAndSaysWhyNotTheRest) {
    const std::string head = "成交日期,证券代码,买卖标志,成交价格,成交数量,成交金额\n";
    const std::pair<std::string, std::string> taken[] = {
        {"20230201,878,买入,10.5,100,1050", "SZ000878 B 100@10.5=1050.00"},
        {"20230201,878,证券卖出,10.5,-100,", "SZ000878 S 100@10.5=1050.00"},
        {"20230201,878,买入,1,2147483647,2147483647", "SZ000878 B 2147483647@1=2147483647.00"},
    };
    for (const auto& [row, deal] : taken) EXPECT_EQ(shown(read(head + row)), "20230201  " + deal);

    const std::pair<std::string, std::string> skipped[] = {
        {"20230201,878,买入,10.5,-100,1050", "a purchase of -100 shares"},
        {"20230201,799999,指定交易,1,0,0", "not a deal: 指定交易"},
        {"20230201,878,申购,10,100,1000", "not a deal: 申购"},
        {"20230201,878,,10,100,1000", "not a deal: no side"},
        {"20230201,878,买入,0,100,0", "not a deal: price 0"},
        {"20230201,878,买入,1,0,0", "not a deal: volume 0"},
        {"20230201,878,买入,100,10,0", "not a deal: amount 0"},
        {"20230201,878,买入,-1,100,100", "price is out of range: -1"},
        {"20230201,878,买入,1e9,100,1", "price is out of range: 1e9"},
        {"20230201,878,买入,nan,100,1", "price is not a number: nan"},
        {"20230201,878,买入,,100,1", "no price"},
        {"20230201,878,买入,1,2147483648,1", "volume is out of range: 2147483648"},
        {"20230201,878,买入,1,1e300,1", "volume is out of range: 1e300"},
        {"20230201,878,买入,1,100.5,1", "volume is not whole: 100.5"},
        {"20230201,878,买入,10.5,100,9e9", "amount 9e9 is not that of 100 at 10.5"},
        {"20230201,878,买入,9e6,2000000000,", "amount is out of range: 1.8e+16"},
        {"20230201,878,买入,1,100,1e200", "amount is out of range: 1e200"},
        {"20230201,,买入,1,100,1", "no code"},
        {"20240103,878,买入,1,100,100", "a day that has not come yet: 20240103"},
        {"19891231,878,买入,1,100,100", "not a date: 19891231"},
        {",878,买入,1,100,1", "no date"},
        {head, "the column names again"},
    };
    for (const auto& [row, reason] : skipped) {
        // Whatever becomes of the row, the good one after it is taken.
        const Statement statement = read(head + row + "\n20230203,600000,买,7,200,1400\n");
        EXPECT_EQ(shown(statement), "20230203  SH600000 B 200@7=1400.00; row 2: " + reason);
        EXPECT_EQ(statement.read, 2) << row;
    }
}

TEST(Statement, ReadsTimesOrSaysWhatIsNone) {
    const std::string head = "成交日期,成交时间,证券代码,买卖标志,成交价格,成交数量\n";
    const std::pair<std::string, std::string> cases[] = {
        {"20230201,1430", "20230201 143000 SZ000878 B 100@10=1000.00"},
        {"20230201,0.604166666666667", "20230201 143000 SZ000878 B 100@10=1000.00"},
        {"20230201,20230201094813", "20230201 094813 SZ000878 B 100@10=1000.00"},
        {"20230201,--", "20230201  SZ000878 B 100@10=1000.00"},
        {",20230202", "20230202  SZ000878 B 100@10=1000.00"},
        {"20230201,25:00", "row 2: not a time: 25:00"},
        {"20230201,14", "row 2: not a time: 14"},
        {"20230201,noon", "row 2: not a time: noon"},
    };
    for (const auto& [cells, expected] : cases) {
        EXPECT_EQ(shown(read(head + cells + ",878,买入,10,100\n")), expected);
    }
}

/// What is made of a file, as the table of files tells it.
std::string told(const QByteArray& bytes) {
    Statement statement;
    try {
        statement = readStatement(readBytes(bytes), "20240102");
    } catch (const Refusal& why) {
        return "refused: " + why.text.toStdString() + "\n";
    }
    const bool deals = statement.kind == TC::ImportReport::Kind::Deals;
    std::string text = deals ? "deals\n" : "orders\n";
    struct Sums {
        int count = 0;
        double bought = 0, sold = 0;
    };
    std::map<std::string, Sums> days;
    const auto count = [&](const auto& rows, auto amount) {
        for (const auto& row : rows) {
            Sums& sums = days[row.fundAccount.toStdString() + " " + row.record->m_strTradeDate];
            ++sums.count;
            const bool buys = row.record->m_eDirection == vexservice::ENTRUST_BUY;
            (buys ? sums.bought : sums.sold) += amount(*row.record);
        }
    };
    count(statement.deals, [](const auto& deal) { return deal.m_dAmount; });
    count(statement.orders, [](const auto& order) { return order.m_dTradedAmount; });
    for (const auto& [day, sums] : days) {
        text += fmt::format("{}: {}, bought {:.2f}, sold {:.2f}\n", day, sums.count, sums.bought,
                            sums.sold);
    }
    for (const auto& row : statement.skipped) {
        text += fmt::format("row {}: {}\n", row.row, row.reason.toStdString());
    }
    for (const QString& note : statement.notes) text += "note: " + note.toStdString() + "\n";
    return text;
}

TEST(Statement, TableOfFiles) {
    QFile file(QStringLiteral(LINKAGE_SOURCE_DIR "/tests/data/import/statements.txt"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QStringList cases = QString::fromUtf8(file.readAll()).split("\n### ").mid(1);
    ASSERT_GT(cases.size(), 20);
    for (const QString& each : cases) {
        const int begin = each.indexOf('\n') + 1;
        const int end = each.indexOf("--- told\n");
        ASSERT_GT(end, begin) << each.toStdString();
        const QByteArray content = each.mid(begin, end - begin).toUtf8();
        const QString expected = each.mid(end + 9).trimmed();
        EXPECT_EQ(QString::fromStdString(told(content)).trimmed().toStdString(),
                  expected.toStdString())
            << each.left(begin).toStdString();
    }
    // The same in another encoding.
    const QString wide = cases.front().section('\n', 1).section("--- told", 0, 0);
    const QByteArray utf16 = QTextCodec::codecForName("UTF-16LE")->fromUnicode(wide);
    EXPECT_EQ(told("\xff\xfe" + utf16), told(wide.toUtf8()));
}

TEST(Statement, SeparatorsInsideCells) {
    const std::pair<QByteArray, std::string> rows[] = {
        // tab-separated, with commas inside numbers; a quote that nobody closes
        {"成交日期\t证券代码\t证券名称\t买卖\t价格\t数量\n"
         "20230201\t600000\t\"浦发\t买入\t7.00\t1,000\n",
         "20230201  SH600000 B 1000@7=7000.00"},
        // commas with tabs behind every cell, and quoted `="..."`
        {"成交日期\t,证券代码\t,买卖\t,价格\t,数量\t\n"
         "20230201\t,\"=\"\"000001\"\"\",买入\t,7\t,100\t\n",
         "20230201  SZ000001 B 100@7=700.00"},
    };
    for (const auto& [csv, expected] : rows) EXPECT_EQ(shown(csv), expected);
}

TEST(Statement, FindsTheDayInTheTitle) {
    const std::pair<QByteArray, std::string> rows[] = {
        {"", "20240102  SH600000 B 100@7=700.00"},  // no day anywhere: the trade date
        {"查询日期:20230203\n", "20230203  SH600000 B 100@7=700.00"},
        // the day of printing is not that of the trades
        {"打印日期：20230210\n制表时间: 2023-02-11 查询日期:2023-02-03\n",
         "20230203  SH600000 B 100@7=700.00"},
        {"打印日期,20230210\n", "20240102  SH600000 B 100@7=700.00"},
        {"起始日期:20230101 终止日期:20230131\n",
         "the rows have no dates, and the title names several"},
    };
    const QByteArray table = "证券代码,买卖,价格,数量\n600000,B,7,100\n";
    for (const auto& [title, expected] : rows) EXPECT_EQ(shown(title + table), expected);
}

std::vector<std::uint64_t> keysOf(const std::string& csv) {
    std::vector<std::uint64_t> keys;
    for (const auto& row : read(csv).deals) keys.push_back(row.record->m_nRecordKey);
    return keys;
}

TEST(Statement, KeysTellDealsApartAndStayTheSame) {
    const std::string a = "20230201,600000,买入,7,100,9:30:00,\n";
    const std::string b = "20230201,600000,买入,7,100,9:30:01,\n";
    const std::string head = "成交日期,证券代码,买卖,价格,数量,成交时间,成交编号\n";
    const auto keys = keysOf(head + a + a + b);
    EXPECT_EQ(std::set(keys.begin(), keys.end()).size(), 3u);
    for (const auto key : keys) EXPECT_TRUE(key & kImportedKeyBit);
    EXPECT_EQ(keysOf(head + a + a + b), keys);
    // A list of fewer days, or in another order, names its deals alike.
    EXPECT_EQ(keysOf(head + b + a), (std::vector{keys[2], keys[0]}));
    // Written differently it is the same deal, with and without the number's own columns.
    EXPECT_EQ(keysOf("价格,数量,证券代码,成交日期,买卖,成交时间\n\"7.000\",100.0,SH600000,2023/2/1,"
                     "证券买入,09:30:00\n"),
              (std::vector{keys[0]}));
    // With a deal number, that tells deals apart, whatever the list says of the time.
    const auto numbered =
        keysOf(head + "20230201,600000,买入,7,100,9:30:00,N1\n" +
               "20230201,600000,买入,7,100,,N1\n" + "20230201,600000,买入,7,100,9:30:00,N2\n");
    EXPECT_EQ(keysOf(head + "20230201,600000,买入,7,100,,N1\n"), (std::vector{numbered[0]}));
    EXPECT_EQ(std::set(numbered.begin(), numbered.end()).size(), 3u);
    // Numbers that a spreadsheet program cut short are none.
    const auto cut = keysOf(head + "20230201,600000,买入,7,100,9:30:00,1.01E+15\n");
    EXPECT_EQ(cut, (std::vector{keys[0]}));
}

TEST(Statement, OrderKeysIgnoreWhatChangesAsTheyTrade) {
    const std::string head =
        "委托日期,委托时间,证券代码,买卖,委托价格,委托数量,成交数量,委托编号,状态\n";
    const auto early = read(head + "20230201,9:30:00,600000,买入,7,100,0,5,已报\n").orders;
    const auto late = read(head + "20230201,9:30:00,600000,买入,7,100,100,5,已成\n").orders;
    EXPECT_EQ(early.at(0).record->m_nRecordKey, late.at(0).record->m_nRecordKey);
    EXPECT_EQ(late.at(0).record->m_eStatus, vexservice::STATUS_SUCCEEDED);
}

TEST(Statement, OrdersAtTheMarketsPriceShowNone) {
    std::string csv = "委托日期,证券代码,买卖,委托价格,委托数量,成交数量,成交价格,状态\n";
    for (const char* price : {"", "--", "市价", "五档市价转撤", "0", "7.5"}) {
        csv += "20230201,600000,买入," + std::string(price) + ",300,100,7.2,部成\n";
    }
    const Statement statement = read(csv + "20230201,600000,买入,abc,300,100,7.2,部成\n");
    ASSERT_EQ(statement.orders.size(), 6u);
    for (const auto& row : statement.orders) {
        EXPECT_EQ(row.record->m_dPrice, row.row == 7 ? 7.5 : 0.0) << row.row;
        EXPECT_DOUBLE_EQ(row.record->m_dTradedAmount, 720.0) << row.row;
    }
    EXPECT_EQ(shown(statement), "row 8: price is not a number: abc");
}

TEST(AccountChoice, FollowsTheNameThenTheOnlyAccount) {
    const auto account = [](const char* key, const char* id) {
        auto info = boost::make_shared<vexservice::CAccountInfo>();
        info->m_strKey = key;
        info->m_strID = id;
        return info;
    };
    const auto a = account("A", "0010001");
    const auto b = account("B", "20002");
    const auto c = account("C", "10001");
    // Accounts that are followed, what the rows name, and the account of each row or the refusal.
    using Accounts = std::vector<CAccountChoice::Account>;
    using Named = std::vector<NamedAccount>;
    const std::tuple<std::string, Accounts, Named, std::string> rows[] = {
        {"by fund account, zeros lost", {a, b}, {{"10001", ""}, {"20002", ""}}, "AB"},
        {"by holder code, by account key", {a, b}, {{"", "20002"}, {"B", ""}}, "BB"},
        {"exactly, before by zeros", {a, c}, {{"10001", ""}, {"0010001", ""}}, "CA"},
        {"by zeros, two alike", {a, b, c}, {{"010001", ""}, {"20002", ""}}, "-B"},
        {"alike",
         {a, c},
         {{"010001", ""}},
         "account 010001 may be one of several that are followed"},
        {"of another, whatever the holder", {a, b}, {{"3", "20002"}, {"10001", ""}}, "-A"},
        {"another's row, one followed", {a}, {{"10001", ""}, {"3", ""}}, "A-"},
        {"nothing named, one followed", {a}, {{"", ""}, {"", "A123"}}, "AA"},
        {"another name, one followed", {a}, {{"3", ""}}, "A"},
        {"others",
         {a},
         {{"3", ""}, {"4", ""}},
         "the file is of account 3, 4, which is not followed"},
        {"unnamed", {a, b}, {{"", "A123"}}, "the file names no account, and several are followed"},
        {"unknown", {a, b}, {{"3", ""}}, "the file is of account 3, which is not followed"},
        {"none followed", {}, {{"10001", ""}}, "no account is followed"},
    };
    for (const auto& [name, followed, named, expected] : rows) {
        const CAccountChoice choice(followed, named);
        std::string seen = choice.refusal().toStdString();
        if (seen.empty()) {
            for (const auto& each : named) {
                const auto found = choice.of(each).account;
                seen += found ? found->m_strKey : "-";
            }
        }
        EXPECT_EQ(seen, expected) << name;
        EXPECT_EQ(!choice.note().isEmpty(), name == "another name, one followed") << name;
    }
}

}  // namespace
}  // namespace statementtest

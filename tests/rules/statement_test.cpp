#include "linkage/store/import/statement.h"
#include "linkage/store/import/accountchoice.h"
#include "linkage/store/import/cellvalues.h"
#include "linkage/store/import/readers.h"

#include <QTextCodec>

#include <boost/make_shared.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace statementtest {
namespace {

using namespace TC::statement;

Value text(const char* text) { return {false, 0.0, QString::fromUtf8(text)}; }
Value number(double number) { return {true, number, {}}; }

std::string orNone(const std::optional<DateTime>& when) {
    return when ? when->date + " " + when->time : "none";
}

Statement read(const std::string& csv, const std::string& tradeDate = "20240102") {
    return readStatement(readText(QByteArray::fromStdString(csv)), tradeDate);
}

/// Every row in one line: what was taken, or why not.
std::string shown(const Statement& statement) {
    QStringList lines;
    for (const auto& row : statement.deals) {
        const auto& deal = *row.record;
        lines << QStringLiteral("%1 %2 %3%4 %5 %6@%7=%8")
                     .arg(QString::fromStdString(deal.m_strTradeDate),
                          QString::fromStdString(deal.m_strTradeTime),
                          QString::fromStdString(deal.m_strMarket),
                          QString::fromStdString(deal.m_strCode),
                          deal.m_eDirection == vexservice::ENTRUST_BUY ? "B" : "S")
                     .arg(deal.m_nVolume)
                     .arg(deal.m_dPrice)
                     .arg(deal.m_dAmount, 0, 'f', 2);
    }
    for (const auto& row : statement.skipped) {
        lines << QStringLiteral("row %1: %2").arg(row.row).arg(row.reason);
    }
    return lines.join("; ").toStdString();
}

TEST(CellValues, Numbers) {
    const std::pair<Value, std::optional<double>> rows[] = {
        {text("1,234,567.50"), 1234567.5},
        {text(" ￥１２．５ "), 12.5},
        {text("-100股"), -100.0},
        {text("+.5"), 0.5},
        {text("1.5E3"), 1500.0},
        {number(-7), -7.0},
        {text("1,23"), {}},
        {text("12,3456"), {}},
        {text("1.2.3"), {}},
        {text("0x10"), {}},
        {text("nan"), {}},
        {text("1e999"), {}},
        {text("5手"), {}},
        {text("3万"), {}},
        {text("$5"), {}},
        {text("∞"), {}},
        {number(std::numeric_limits<double>::infinity()), {}},
        {text("--"), {}},
    };
    for (const auto& [cell, expected] : rows) {
        EXPECT_EQ(numberOf(cell), expected) << cell.display().toStdString();
    }
}

TEST(CellValues, Dates) {
    const std::pair<Value, std::string> rows[] = {
        {text("20230201"), "20230201 "},
        {text("2023-2-1"), "20230201 "},
        {text("2023/02/01 9:48:13"), "20230201 094813"},
        {text("2023年2月1日"), "20230201 "},
        {text("2023.02.01"), "20230201 "},
        {text("20230201 09:48:13"), "20230201 094813"},
        {text("20230201094813"), "20230201 094813"},
        {number(20230201), "20230201 "},
        {number(44958), "20230201 "},  // days since the last day of 1899
        {number(44958.5), "20230201 120000"},
        {text("44958"), "20230201 "},
        {text("20230230"), "none"},  // no such day
        {text("2023-13-01"), "none"},
        {text("1/2/2023"), "none"},  // day or month first?
        {text("19891231"), "none"},  // before any exchange
        {text("20380101"), "none"},  // beyond what a day key holds
        {number(99999999), "none"},
        {number(-1), "none"},
        {text("合计"), "none"},
    };
    for (const auto& [cell, expected] : rows) {
        EXPECT_EQ(orNone(dateOf(cell)), expected) << cell.display().toStdString();
    }
    EXPECT_EQ(orNone(dateOf(number(43496), true)), "20230201 ");  // 1462 days later epoch
}

TEST(CellValues, Times) {
    const std::pair<Value, std::string> rows[] = {
        {text("9:48:13"), "094813"},
        {text("14:05"), "140500"},
        {text("094813"), "094813"},
        {number(94813), "094813"},
        {text("09481355"), "094813"},
        {text("94813123"), "094813"},
        {number(0.5), "120000"},
        {number(44958.75), "180000"},
        {text("2023-02-01 9:48:13"), "094813"},
        {text("25:00:00"), ""},
        {number(246060), ""},
        {text(""), ""},
        {text("9:48:13.250"), "094813"},
    };
    for (const auto& [cell, expected] : rows) {
        EXPECT_EQ(timeOf(cell), expected) << cell.display().toStdString();
    }
}

TEST(CellValues, Instruments) {
    struct Row {
        Value code;
        const char* market;
        const char* holder;
        std::string expected;
    };
    const Row rows[] = {
        {number(878), "", "", "SZ000878"},
        {text("878"), "", "", "SZ000878"},
        {text("600519"), "", "", "SH600519"},
        {text("688981"), "", "", "SH688981"},
        {text("900901"), "", "", "SH900901"},
        {text("513050"), "", "", "SH513050"},
        {text("159915"), "", "", "SZ159915"},
        {text("300750"), "", "", "SZ300750"},
        {text("200002"), "", "", "SZ200002"},
        {text("430047"), "", "", "BJ430047"},
        {text("830799"), "", "0123456789", "BJ830799"},
        {text("920002"), "", "", "BJ920002"},
        {text("113052"), "", "A123456789", "SH113052"},
        {text("113052"), "", "", "SH113052"},
        {text("127030"), "", "", "SZ127030"},
        {text("112001"), "", "0123456789", "SZ112001"},
        {text("112001"), "", "A123456789", "SH112001"},  // both exchanges have such bonds
        {text("600519"), "", "0123456789", "SH600519"},  // the code leaves no doubt
        {text("204001"), "", "0123456789", "SH204001"},
        {text("131810"), "", "0123456789", "SZ131810"},
        {text("131810"), "深圳A股", "", "SZ131810"},
        {text("600000.SH"), "", "", "SH600000"},
        {text("sz000001"), "", "", "SZ000001"},
        {text("000001.XSHE"), "", "", "SZ000001"},
        {text("00700"), "", "", "none"},  // zeros kept: a five-digit code
        {number(700), "沪港通", "", "none"},
        {text("10004321"), "", "", "none"},  // eight digits: an option
        {text("IF2303"), "", "", "none"},
        {number(0), "", "", "none"},
        {number(-600519), "", "", "none"},
        {number(600519.5), "", "", "none"},
    };
    for (const Row& row : rows) {
        const auto found = instrumentOf(row.code, QString::fromUtf8(row.market), row.holder);
        EXPECT_EQ(found ? found->market + found->code : "none", row.expected)
            << row.code.display().toStdString() << " " << row.market << " " << row.holder;
    }
}

TEST(Statement, TakesDealsAndSaysWhyNotTheRest) {
    const std::string head = "成交日期,证券代码,买卖标志,成交价格,成交数量,成交金额\n";
    const std::pair<std::string, std::string> rows[] = {
        {"20230201,878,买入,10.5,100,1050", "20230201  SZ000878 B 100@10.5=1050.00"},
        {"20230201,878,卖出,10.5,-100,1050", "20230201  SZ000878 S 100@10.5=1050.00"},
        {"20230201,878,证券卖出,10.5,100,", "20230201  SZ000878 S 100@10.5=1050.00"},
        {"20230201,878,买入,10.5,-100,1050", "row 2: a purchase of -100 shares"},
        {"20230201,799999,指定交易,1,0,0", "row 2: not a deal: 指定交易"},
        {"20230201,878,申购,10,100,1000", "row 2: not a deal: 申购"},
        {"20230201,878,,10,100,1000", "row 2: not a deal: no side"},
        {"20230201,878,买入,0,100,0", "row 2: not a deal: price 0"},
        {"20230201,878,买入,-1,100,100", "row 2: price is out of range: -1"},
        {"20230201,878,买入,1,0,0", "row 2: not a deal: volume 0"},
        {"20230201,878,买入,100,10,0", "row 2: not a deal: amount 0"},
        {"20230201,878,买入,1,2147483647,2147483647",
         "20230201  SZ000878 B 2147483647@1=2147483647.00"},
        {"20230201,878,买入,10.5,100,9e9", "row 2: amount 9e9 is not that of 100 at 10.5"},
        {"20230201,878,买入,9e6,2000000000,", "row 2: amount is out of range: 1.8e+16"},
        {"20230201,878,买入,nan,100,1", "row 2: price is not a number: nan"},
        {"20230201,878,买入,1,1e400,1", "row 2: volume is not a number: 1e400"},
        {"20240103,878,买入,1,100,100", "row 2: a day that has not come yet: 20240103"},
        {"19891231,878,买入,1,100,100", "row 2: not a date: 19891231"},
        {"20230201,878,买入,1,2147483648,1", "row 2: volume is out of range: 2147483648"},
        {"20230201,878,买入,1,1e300,1", "row 2: volume is out of range: 1e300"},
        {"20230201,878,买入,1,100.5,1", "row 2: volume is not whole: 100.5"},
        {"20230201,878,买入,1e9,100,1", "row 2: price is out of range: 1e9"},
        {"20230201,878,买入,abc,100,1", "row 2: price is not a number: abc"},
        {"20230201,878,买入,1,100,1e200", "row 2: amount is out of range: 1e200"},
        {"20230201,878,买入,,100,1", "row 2: no price"},
        {"20230201,,买入,1,100,1", "row 2: no code"},
        {"yesterday,878,买入,1,100,1", "row 2: not a date: yesterday"},
        {",878,买入,1,100,1", "row 2: no date"},
        {"成交日期,证券代码,买卖标志,成交价格,成交数量,成交金额", "row 2: the column names again"},
    };
    for (const auto& [row, expected] : rows) {
        // Whatever becomes of the row, the good one after it is taken.
        const Statement statement = read(head + row + "\n20230203,600000,买,7,200,1400\n");
        EXPECT_EQ(statement.read, 2) << row;
        const std::string good = "20230203  SH600000 B 200@7=1400.00";
        const bool taken = statement.deals.size() == 2;
        EXPECT_EQ(shown(statement), taken ? expected + "; " + good : good + "; " + expected) << row;
    }
}

TEST(Statement, FindsColumnsByName) {
    const std::pair<std::string, std::string> rows[] = {
        // titles, units, blanks and full-width brackets; the time behind the date
        {"对账单\n\n成交 时间,成交价格(元),成交数量（股）,操作,股票代码\n2023-02-01 "
         "09:30:00,7,100,买,600000\n",
         "20230201 093000 SH600000 B 100@7=700.00"},
        // the kind of business decides, and the dealt volume counts, not the moved one
        {"交易日期,业务类型,股东代码,证券代码,买卖标志,成交价格,发生数量,成交金额,成交数量,"
         "申报时间,"
         "成交时间,业务名称\n"
         "20230201,竞价,A1,600000,买入,7,200,700,100,9:48:10,9:48:13,证券买入\n"
         "20230201,竞价,A1,600000,买入,7,200,700,100,9:48:10,9:48:13,股息入账\n"
         "20230201,竞价,A1,600000,卖出,7,200,700,100,9:48:10,9:48:13,证券买入\n",
         "20230201 094813 SH600000 B 100@7=700.00; row 3: not a deal: 股息入账; "
         "row 4: two sides: 证券买入, 卖出"},
        // no day anywhere: the trade date
        {"成交时间,证券代码,买卖,价格,数量\n9:30:00,600000,B,7,100\n",
         "20240102 093000 SH600000 B 100@7=700.00"},
        // a day in the title
        {"查询日期:20230203\n成交时间,证券代码,买卖,价格,数量\n9:30:00,600000,B,7,100\n",
         "20230203 093000 SH600000 B 100@7=700.00"},
        // tab-separated, with commas inside numbers; a quote that nobody closes
        {"成交日期\t证券代码\t证券名称\t买卖\t价格\t数量\n20230201\t600000\t\"浦发\t买入\t7.00\t1,"
         "000\n",
         "20230201  SH600000 B 1000@7=7000.00"},
        // commas with tabs behind every cell, and quoted `="..."`
        {"成交日期\t,证券代码\t,买卖\t,价格\t,数量\t\n20230201\t,\"=\"\"000001\"\"\",买入\t,7\t,"
         "100\t\n",
         "20230201  SZ000001 B 100@7=700.00"},
        // units of whole columns: lots of shares and of bonds, ten thousands, a foreign one
        {"成交日期,证券代码,买卖,成交价格(元),成交数量(手),成交金额（万元）\n"
         "20230201,600000,买,7,1.5,0.105\n20230201,113052,卖,116.25,1,0.11625\n"
         "20230201,600000,买,7,21474837,1\n",
         "20230201  SH600000 B 150@7=1050.00; 20230201  SH113052 S 10@116.25=1162.50; "
         "row 4: volume is out of range: 21474837"},
        {"成交日期,证券代码,买卖,成交价格,成交数量(股),成交金额(美元)\n"
         "20230201,600000,买,7,100,99\n",
         "20230201  SH600000 B 100@7=700.00"},
        // rows that did not trade
        {"成交日期,证券代码,买卖,价格,数量,成交状态,成交类型\n"
         "20230201,600000,买,7,1,成交,普通成交\n20230201,600000,买,7,2,撤单,\n"
         "20230201,600000,买,7,3,已撤,\n20230201,600000,买,7,4,废单,\n"
         "20230201,600000,买,7,5,部撤,买卖\n20230201,600000,买,7,6,,撤单成交\n",
         "20230201  SH600000 B 1@7=7.00; 20230201  SH600000 B 5@7=35.00; row 3: not a deal: 撤单; "
         "row 4: not a deal: 已撤; row 5: not a deal: 废单; row 7: not a deal: 撤单成交"},
        // several tables: one with other places and its own day, one that holds no deals
        {"日期:20230201\n证券代码,买卖,价格,数量\n600000,买,7,100\n日期:20230202\n"
         "数量(手),证券代码,价格,买卖\n2,600000,8,卖\n证券代码,市场,余额,数量,价格\n"
         "600000,SH,卖,300,9\n",
         "20230201  SH600000 B 100@7=700.00; 20230202  SH600000 S 200@8=1600.00; "
         "row 4: not a deal: no side; row 5: the column names again; "
         "row 7: belongs to another table; row 8: belongs to another table"},
        // the day of printing is not that of the trades
        {"打印日期：20230210\n制表时间: 2023-02-11 查询日期:2023-02-03\n"
         "证券代码,买卖,价格,数量\n600000,买,7,100\n",
         "20230203  SH600000 B 100@7=700.00"},
        {"打印日期,20230210\n证券代码,买卖,价格,数量\n600000,买,7,100\n",
         "20240102  SH600000 B 100@7=700.00"},
    };
    for (const auto& [csv, expected] : rows) EXPECT_EQ(shown(read(csv)), expected) << csv;
    const QString wide = QString::fromUtf8(rows[0].first.c_str());
    const QByteArray utf16 = QTextCodec::codecForName("UTF-16LE")->fromUnicode(wide);
    EXPECT_EQ(shown(readStatement(readText("\xff\xfe" + utf16), "")), rows[0].second);

    const std::pair<std::string, std::string> refused[] = {
        {"a,b\n1,2\n", "no row of column names was found in the first 50 rows"},
        {"成交日期,证券代码,买卖标志,成交价格\n", "columns are missing: 成交数量"},
        {"起始日期:20230101 终止日期:20230131\n成交时间,证券代码,买卖,价格,数量\n",
         "the rows have no dates, and the title names several"},
    };
    for (const auto& [csv, expected] : refused) {
        try {
            read(csv);
            ADD_FAILURE() << csv;
        } catch (const Refusal& why) {
            EXPECT_EQ(why.text.toStdString(), expected);
        }
    }
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
    const auto early = read(head + "20230201,9:30:00,600000,买入,7,100,0,5,已报\n");
    const auto late = read(head + "20230201,9:30:00,600000,买入,7,100,100,5,已成\n");
    ASSERT_EQ(early.orders.size(), 1u);
    ASSERT_EQ(late.orders.size(), 1u);
    EXPECT_EQ(early.orders[0].record->m_nRecordKey, late.orders[0].record->m_nRecordKey);
    EXPECT_EQ(late.orders[0].record->m_eStatus, vexservice::STATUS_SUCCEEDED);
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
    using Accounts = std::vector<CAccountChoice::Account>;
    struct Row {
        const char* name;
        Accounts followed;
        std::vector<NamedAccount> named;
        std::string expected;  ///< account of each row, or the refusal
    };
    const Row rows[] = {
        {"by fund account, zeros lost", {a, b}, {{"10001", ""}, {"20002", ""}}, "AB"},
        {"by holder code", {a, b}, {{"", "20002"}}, "B"},
        {"by account key", {a, b}, {{"B", ""}}, "B"},
        {"exactly, before by zeros", {a, c}, {{"10001", ""}, {"0010001", ""}}, "CA"},
        {"by zeros, of two alike", {a, b, c}, {{"010001", ""}, {"20002", ""}}, "-B"},
        {"of two alike only",
         {a, c},
         {{"010001", ""}},
         "account 010001 may be one of several that are followed"},
        {"a fund account of another, whatever the holder",
         {a, b},
         {{"3", "20002"}, {"10001", ""}},
         "-A"},
        {"a row of another account", {a, b}, {{"10001", ""}, {"3", ""}}, "A-"},
        {"the same with one followed", {a}, {{"10001", ""}, {"3", ""}}, "A-"},
        {"nothing named, one followed", {a}, {{"", ""}, {"", "A123"}}, "AA"},
        {"another name, one followed", {a}, {{"3", ""}}, "A"},
        {"two names, one followed",
         {a},
         {{"3", ""}, {"4", ""}},
         "the file is of account 3, 4, which is not followed"},
        {"nothing named, two followed",
         {a, b},
         {{"", "A123"}},
         "the file names no account, and several are followed"},
        {"unknown, two followed",
         {a, b},
         {{"3", ""}},
         "the file is of account 3, which is not followed"},
        {"none followed", {}, {{"10001", ""}}, "no account is followed"},
    };
    for (const Row& row : rows) {
        const CAccountChoice choice(row.followed, row.named);
        std::string seen = choice.refusal().toStdString();
        if (seen.empty()) {
            for (const auto& named : row.named) {
                const auto found = choice.of(named).account;
                seen += found ? found->m_strKey : "-";
            }
        }
        EXPECT_EQ(seen, row.expected) << row.name;
        EXPECT_EQ(!choice.note().isEmpty(), row.name == std::string("another name, one followed"))
            << row.name;
    }
}

}  // namespace
}  // namespace statementtest

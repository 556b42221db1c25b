#include "linkage/store/import/dayrecords.h"

#include "linkage/store/import/placematching.h"
#include "linkage/store/import/readers.h"
#include "linkage/store/import/statement.h"

#include <QTextCodec>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <set>

namespace dayrecordstest {
namespace {

using namespace TC::statement;
using vexservice::CDealDetail;
using Deals = CDayRecords<CDealDetail>;

/// A deal as it truly was.
struct Truth {
    int volume;
    double price;
    int second;
    int number;
};

/// How a statement is written: what it tells, in which order of columns, in which form.
struct Style {
    bool numbers = true;
    bool times = true;
    bool zeros = true;  ///< in front of numbers
    bool turned = false;
    enum EForm { Commas, Tabs, Pipes, Blanks, Page, Utf16, Gb18030, FORMS } form = Commas;
};

QByteArray statementOf(const std::vector<Truth>& deals, const Style& style) {
    const auto line = [&](std::vector<std::string> cells) {
        if (style.turned) std::reverse(cells.begin(), cells.end());
        if (style.form == Style::Page) {
            return fmt::format("<tr><td>{}</td></tr>\n", fmt::join(cells, "</td><td>"));
        }
        const char* const marks[] = {",", "\t", "|", "   ", "", ",", ","};
        return fmt::format("{}\n", fmt::join(cells, marks[style.form]));
    };
    std::string text =
        line({"成交日期", "证券代码", "买卖标志", "成交价格", "成交数量", "成交时间", "成交编号"});
    for (const Truth& deal : deals) {
        text += line({"20230201", "600000", "买入", fmt::format("{}", deal.price),
                      std::to_string(deal.volume),
                      style.times ? fmt::format("09:30:{:02}", deal.second) : "--",
                      !style.numbers ? "--"
                      : style.zeros  ? fmt::format("{:08}", deal.number)
                                     : std::to_string(deal.number)});
    }
    if (style.form == Style::Page) text = "<html><table>" + text + "</table></html>";
    const QByteArray utf8 = QByteArray::fromStdString(text);
    const QString wide = QString::fromUtf8(utf8);
    if (style.form == Style::Gb18030) return QTextCodec::codecForName("GB18030")->fromUnicode(wide);
    if (style.form != Style::Utf16) return utf8;
    return "\xff\xfe" + QTextCodec::codecForName("UTF-16LE")->fromUnicode(wide);
}

boost::shared_ptr<CDealDetail> reported(const Truth& deal, std::uint64_t key) {
    auto record = boost::make_shared<CDealDetail>();
    record->m_strMarket = "SH";
    record->m_strCode = "600000";
    record->m_nVolume = deal.volume;
    record->m_dPrice = deal.price;
    record->m_strTradeTime = fmt::format("0930{:02}", deal.second);
    record->m_strDealID = std::to_string(deal.number);
    record->m_nRecordKey = key;
    return record;
}

/// The ledger's part: what is filed and reported, by key.
struct Day {
    Day() { deals.link({}); }

    Deals deals;
    std::map<std::uint64_t, boost::shared_ptr<CDealDetail>> filed;
    std::map<int, boost::shared_ptr<CDealDetail>> live;    ///< by number
    std::map<int, boost::shared_ptr<CDealDetail>> server;  ///< what only the server has filed

    void settle(std::size_t most) {
        do {
            const auto file = deals.settle(most);
            if (auto* const gone = deals.toRemove()) {
                for (std::size_t at = 0; at < most && !gone->empty(); ++at) {
                    filed.erase(gone->extract(gone->begin()).value());
                }
            }
            for (const auto& record : file) filed[record->recordKey()] = record;
        } while (!deals.isSettled());
    }
    void drop(int number, std::size_t most) {
        std::uint64_t next = 0;
        while (deals.drop(number, most, next)) {
        }
    }
    void import(int number, const QByteArray& text) {
        for (const auto& row : readStatement(readText(text), "20240102").deals) {
            deals.add(number, row.record);
        }
    }
    void report(const Truth& deal) {
        if (const auto at = server.find(deal.number); at != server.end()) {
            deals.unreport(at->second->recordKey());
            server.erase(at);
        }
        live[deal.number] = reported(deal, static_cast<std::uint64_t>(deal.number));
        deals.report(*live[deal.number]);
    }
    /// The server's answer takes the place of its last one; its keys are others.
    void answer(const std::vector<Truth>& answered) {
        server.clear();
        for (const Truth& deal : answered) {
            if (live.count(deal.number) > 0) continue;
            server[deal.number] = reported(deal, static_cast<std::uint64_t>(1000 + deal.number));
        }
        std::vector<boost::shared_ptr<CDealDetail>> all;
        for (const auto* records : {&live, &server}) {
            for (const auto& [number, record] : *records) all.push_back(record);
        }
        deals.link({all.begin(), all.end()});
    }
};

using Counts = std::map<std::pair<int, double>, int>;

template <class Records>
void count(const Records& records, Counts& counts) {
    for (const auto& [key, deal] : records) ++counts[{deal->m_nVolume, deal->m_dPrice}];
}

/// The same deals written in many ways, cut into files, partly before and partly after
/// answers of the server and live reports: each is there once. What can be told apart by no
/// one (equal deals without number and time) is never cut apart.
TEST(DayRecords, EachDealOnceHoweverItComes) {
    std::mt19937 random(11);
    const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
    const auto some = [&](const std::vector<Truth>& deals, unsigned one) {
        std::vector<Truth> chosen;
        std::copy_if(deals.begin(), deals.end(), std::back_inserter(chosen),
                     [&](const Truth&) { return below(one) == 0; });
        return chosen;
    };
    for (int round = 0; round < 5000; ++round) {
        SCOPED_TRACE(round);
        std::vector<Truth> truth;
        Counts expected;
        for (int i = 0, deals = 1 + below(10); i < deals; ++i) {
            truth.push_back({100 * (1 + below(2)), 7.0 + 0.01 * below(2), i, 1 + i});
            ++expected[{truth.back().volume, truth.back().price}];
        }
        Day day;
        std::vector<std::function<void()>> steps;
        int imports = 0;
        for (int list = 0, lists = 1 + below(3); list < lists; ++list) {
            const Style style{below(2) == 0, below(2) == 0, below(2) == 0, below(2) == 0,
                              static_cast<Style::EForm>(below(Style::FORMS))};
            std::vector<Truth> rows = truth;
            if (style.numbers || style.times) std::shuffle(rows.begin(), rows.end(), random);
            const bool isCut = style.numbers || style.times;
            const std::size_t cut = isCut ? static_cast<std::size_t>(below(11)) % rows.size() : 0;
            for (const auto& part : {std::vector(rows.begin(), rows.begin() + long(cut)),
                                     std::vector(rows.begin() + long(cut), rows.end())}) {
                if (part.empty()) continue;
                const int number = ++imports;
                const bool isUndone = below(4) == 0;
                steps.push_back([&day, number, text = statementOf(part, style), isUndone] {
                    day.import(number, text);
                    if (!isUndone) return;
                    day.drop(number, 2);
                    day.import(number, text);
                });
            }
        }
        for (const Truth& deal : some(truth, 3)) {
            steps.push_back([&day, deal] { day.report(deal); });
        }
        for (int answers = below(3); answers > 0; --answers) {
            steps.push_back([&day, deals = some(truth, 2)] { day.answer(deals); });
        }
        std::shuffle(steps.begin(), steps.end(), random);
        for (const auto& step : steps) {
            step();
            if (below(2) == 0) day.settle(1 + random() % 3);
        }
        day.settle(1);
        Counts seen;
        for (const auto* records : {&day.live, &day.server}) count(*records, seen);
        count(day.filed, seen);
        ASSERT_EQ(seen, expected);
        // Taken back, nothing but the reports is left.
        for (int number = 1; number <= imports; ++number) day.drop(number, 2);
        day.settle(5);
        ASSERT_TRUE(day.filed.empty());
    }
}

/// Many equal deals must not be compared each with each, whatever is told of them.
TEST(DayRecords, TheWorkGrowsWithTheRows) {
    constexpr int ROWS = 3000;
    const auto item = [](int import, int at, const std::string& number, const std::string& time) {
        return MatchItem{import, static_cast<std::uint64_t>(import) * ROWS + at, number, time};
    };
    const auto own = [](char kind, int at) { return kind + std::to_string(at); };
    const std::pair<const char*, std::function<MatchItem(int, int)>> cases[] = {
        {"nothing", [&](int list, int at) { return item(list, at, "", ""); }},
        {"one time", [&](int list, int at) { return item(list, at, "", "t"); }},
        {"one number", [&](int list, int at) { return item(list, at, "n", ""); }},
        {"different times",
         [&](int list, int at) { return item(list, at, "", own(char('a' + list), at)); }},
        {"numbers here, times there",
         [&](int list, int at) {
             return list % 2 == 0 ? item(list, at, own('n', at), "")
                                  : item(list, at, "", own('t', at));
         }},
        {"each a little",
         [&](int list, int at) {
             return item(list, at, at % 2 ? own('n', at * list) : "", at % 3 ? own('t', at) : "");
         }},
    };
    for (const auto& [name, make] : cases) {
        std::vector<MatchItem> items;
        for (int list = 0; list < 4; ++list) {
            for (int at = 0; at < ROWS; ++at) items.push_back(make(list, at));
        }
        const CPlaceMatching matching(items, true);
        EXPECT_LT(matching.looks(), 20 * items.size()) << name;
        std::size_t placed = 0;
        for (const auto& place : matching.places()) placed += place.items.size();
        EXPECT_EQ(placed, 3u * ROWS) << name;
    }
}

TEST(DayRecords, TellsWhatBecameOfEachRow) {
    const std::vector<Truth> two{{100, 7, 1, 1}, {100, 7, 2, 2}};
    const Style plain{.numbers = false, .times = false};
    Day day;
    day.import(1, statementOf(two, plain));
    day.import(2, statementOf(two, {}));
    day.settle(1);
    const auto fatesOf = [&](int number) {
        decltype(day.deals)::CFatesSoFar soFar;
        while (day.deals.fates(number, 1, soFar)) soFar.collect();
        std::multiset<EFate> all;
        for (const auto& [key, fate] : soFar.collect()) all.insert(fate);
        return all;
    };
    using Fates = std::multiset<EFate>;
    EXPECT_EQ(fatesOf(1), (Fates{EFate::Filed, EFate::Filed}));
    EXPECT_EQ(fatesOf(2), (Fates{EFate::Matched, EFate::Matched}));
    // A report of another price takes no row; one that agrees takes one.
    day.deals.report(*reported({100, 7.01, 1, 1}, 1));
    day.deals.report(*reported({100, 7, 1, 1}, 2));
    day.settle(1);
    EXPECT_EQ(day.filed.size(), 1u);
    EXPECT_EQ(fatesOf(1), (Fates{EFate::Filed, EFate::Reported}));
    day.drop(1, 1);
    day.settle(1);
    EXPECT_EQ(fatesOf(2), (Fates{EFate::Filed, EFate::Reported}));
}

TEST(DayRecords, WhatComesBetweenTwoSlicesIsInTheirOutcome) {
    const std::vector<Truth> three{{100, 7, 1, 1}, {100, 7, 2, 2}, {100, 7, 3, 3}};
    std::vector<Truth> numberless(3, {100, 7, 0, 0});
    Day day;
    day.import(1, statementOf(three, {}));
    day.settle(1);
    decltype(day.deals)::CFatesSoFar soFar;
    ASSERT_TRUE(day.deals.fates(1, 1, soFar)) << "the row of the first number is read";
    day.report(three[0]);
    day.settle(1);
    soFar.collect();
    while (day.deals.fates(1, 1, soFar)) soFar.collect();
    std::multiset<EFate> fates;
    for (const auto& [key, fate] : soFar.collect()) fates.insert(fate);
    EXPECT_EQ(fates, (std::multiset<EFate>{EFate::Filed, EFate::Filed, EFate::Reported}));

    // Rows without a number bring together what is half dropped.
    std::uint64_t next = 0;
    ASSERT_TRUE(day.deals.drop(1, 1, next));
    day.import(2, statementOf(numberless, {.numbers = false, .times = false}));
    while (day.deals.drop(1, 1, next)) {
    }
    day.settle(1);
    EXPECT_EQ(day.filed.size(), 2u) << "one of the three is reported";
    EXPECT_TRUE(day.deals.hasImports());
    day.drop(2, 1);
    day.settle(1);
    EXPECT_TRUE(day.filed.empty());
    EXPECT_FALSE(day.deals.hasImports());
}

}  // namespace
}  // namespace dayrecordstest

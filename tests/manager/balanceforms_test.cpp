#include "replay/manageraccess.h"
#include "tests/manager/balancing.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>

using namespace tests;
using TC::EBalanceOutcome;
using TC::EBalanceRefusal;
using TC::ManagerAccess;

// -------------------------------------------------------------------- the four forms

namespace {

/// Every case of a stock in one pair, in stock key order.
struct Cases : Started {
    Cases() {
        for (const char* followed : {"SH600001", "SH600002", "SH600004", "SH600005"}) {
            instrument({.stock = followed});
        }
        instrument({.stock = "SH600003", .unit = 200});
        instrument({.stock = "SH688001", .types = {1172}});
        instrument({.stock = "SZ300001", .types = {1173}});
        trade("SH600001", 700, 600);
        trade("SH600002", 1000, 1250);
        trade("SH600003", 1050, 1000);
        trade("SH600004", 1000, 1050);
        trade("SH600005", 300, 0);
        trade("SH688001", 0, 150);
        trade("SZ300001", 350, 100);
        manager().addHistoryLinkdata("A", "S");
        trade("SH600001", 0, 100);  // history holds the same record, which is balanced now
        instrument({.stock = "SH600005", .detail = false});
        forget();
    }
};

const Lines PER_STOCK = {
    "09:00:00.000 type 1: S buy 200 SH600002", "09:00:00.000 type 1: S sell 50 SH600003",
    "09:00:00.000 type 1: S buy 150 SH688001", "09:00:00.000 type 1: S sell 250 SZ300001"};

std::string orderLine(const std::string& stock, int bought, int sold) {
    return fmt::format("account [id-A] strategy [S] stock [{}] [buynum({}) - sellnum({})]", stock,
                       bought, sold);
}

}  // namespace

TEST(BalanceForms, PerStockSendsOddLotsAndSaysWhatItDoes) {
    Cases f;
    ManagerAccess::doStockBalanceBySignalTask(f.manager(), "A", "S");
    EXPECT_EQ(f.sent(), PER_STOCK);
    EXPECT_EQ(linesOf(f, "doStockBalanceBySignalTask"),
              (Lines{"start：A ", "stock SH600001 balance volume is zero",
                     orderLine("SH600002", 1000, 1250), orderLine("SH600003", 1050, 1000),
                     "stock SH600005 CInstrumentDetailPtr is empty", orderLine("SH688001", 0, 150),
                     orderLine("SZ300001", 350, 100)}));
    f.forget();
    ManagerAccess::doStockBalanceBySignalTask(f.manager(), "A", "unknown");
    ManagerAccess::doStockBalanceBySignalTask(f.manager(), "Z", "S");
    f.account({.key = "Z", .info = false});
    ManagerAccess::doStockBalanceBySignalTask(f.manager(), "Z", "S");
    EXPECT_EQ(f.logTexts(),
              (Lines{"start：A ", "A ：trade datas is empty", "start：Z ",
                     "Z : accountData is empty", "start：Z ", "Z : accountinfoPtr is empty"}));
}

TEST(BalanceForms, GroupedSendsOneCommandAndSaysNothing) {
    Cases f;
    ManagerAccess::doStockBalance(f.manager(), "A", "S");
    ManagerAccess::doStockBalance(f.manager(), "A", "unknown");
    ManagerAccess::doStockBalance(f.manager(), "Z", "S");
    f.account({.key = "Z", .type = 4});
    f.manager().doHistoryBalance("Z", "S");
    EXPECT_EQ(f.manager().previewHistoryBalance("Z", "S").refusal,
              EBalanceRefusal::WrongAccountType);
    f.manager().doHistoryBalance("A", "S");  // exact volumes from one lot on
    EXPECT_EQ(f.sent(), (Lines{"09:00:00.000 type 4: S buy 200 SH600002 buy 150 SH688001 "
                               "sell 250 SZ300001",
                               "09:00:00.000 type 4: S buy 250 SH600002 buy 150 SH688001 "
                               "sell 250 SZ300001"}));
    EXPECT_EQ(f.commands().at(1).command.m_strStrategyName2, "历史配平");
    EXPECT_TRUE(f.log().empty());
}

TEST(BalanceForms, HistoryPerStockRoundsLikeTodayAndCarriesItsTag) {
    Cases f;
    f.manager().doHistoryBalanceBySignalTask("A", "S");
    EXPECT_EQ(f.sent(), PER_STOCK);
    EXPECT_EQ(
        linesOf(f, "doHistoryBalanceBySignalTask"),
        (Lines{"balance start", "stock:SH600001 nDelta is nzero", orderLine("SH600002", 1000, 1250),
               orderLine("SH600003", 1050, 1000), "instrumentDetailPtr is empty SH600005",
               orderLine("SH688001", 0, 150), orderLine("SZ300001", 350, 100)}));
    for (const auto& sent : f.commands()) {
        EXPECT_EQ(sent.command.m_strStrategyName2, "历史配平");
        EXPECT_EQ(sent.command.m_orders[0]->m_strStrategyName2, "S");
    }
    f.forget();
    f.manager().doHistoryBalanceBySignalTask("A", "unknown");
    f.manager().doHistoryBalanceBySignalTask("Z", "S");
    f.account({.key = "Z", .info = false});
    f.manager().doHistoryBalanceBySignalTask("Z", "S");
    f.account({.key = "Z", .type = 4});
    f.manager().doHistoryBalanceBySignalTask("Z", "S");
    EXPECT_EQ(f.logTexts(),
              (Lines{"balance start", "attountket:A strategy: unknown not find balance data",
                     "balance start", "account data is empty", "balance start",
                     "accountinfo is empty", "balance start", "wrong brokertype 4"}));
}

TEST(BalanceForms, ClientType3BalancesWhatItsOrdersTraded) {
    for (const int clientType : {1, 3}) {
        Started f(2, {.clientType = clientType});
        f.trade(SH, 200, 0);
        f.order(orderOf({.strategy = "S"}, 500, 300, vexservice::STATUS_PART_CANCEL));
        ManagerAccess::doStockBalanceBySignalTask(f.manager(), "A", "S");
        f.manager().addHistoryLinkdata("A", "S");
        f.manager().doHistoryBalance("A", "S");
        const std::string volume = clientType == 3 ? "300" : "200";
        EXPECT_EQ(f.sent(), (Lines{"09:00:00.000 type 1: S sell " + volume + " SH600000",
                                   "09:00:00.000 type 4: S sell " + volume + " SH600000"}));
    }
}

// ---------------------------------------------------------------- prices and preview

TEST(BalancePrices, FollowTheSettingsAndTheRegistrationRule) {
    using namespace vexservice;
    struct Row {
        const char* name;
        int type;
        bool rules;
        EPriceType priceType;
        double sh, sz;
    };
    // Both stocks are to be sold; best bid 10.00, best ask 10.02, last 10.01.
    const Row rows[] = {{"best of the other side", 2, true, PRTP_COMPETE, 10.0, 10.0},
                        {"best of the own side", 3, true, PRTP_HANG, 10.02, 10.02},
                        {"fixed", 2, true, PRTP_FIX, 9.87, 9.87},
                        {"market", 2, false, PRTP_MARKET, 0.0, 0.0},
                        {"market, protected", 3, true, PRTP_MARKET, 9.8, 0.0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Started f(row.type, {.registRules = row.rules});
        for (const auto& stock : {SH, SZ}) {
            f.price({.stock = stock, .last = 10.01, .asks = {{10.02, 100}}, .bids = {{10.0, 100}}});
            f.trade(stock, 200, 0);
        }
        // The block of the other account type must not be used.
        f.tradeSetting(row.type == 3 ? 1 : 2, PRTP_BUY5);
        f.tradeSetting(row.type == 3 ? 2 : 1, row.priceType, 9.87);
        ManagerAccess::doStockBalanceBySignalTask(f.manager(), "A", "S");
        const auto commands = f.commands();
        ASSERT_EQ(commands.size(), 2u);
        for (std::size_t at = 0; at < 2; ++at) {
            const auto& order = *commands[at].command.m_orders[0];
            EXPECT_EQ(order.m_ePriceType, row.priceType);
            EXPECT_DOUBLE_EQ(order.m_dPrice, at == 0 ? row.sh : row.sz);
        }
    }
}

TEST(BalancePreview, ShowsEachStocksOrderOrReasonAndSendsNothing) {
    Cases f;
    using enum EBalanceOutcome;
    struct Row {
        const char* stock;
        int difference;
        EBalanceOutcome perStock, grouped;
        int volume[4];  ///< today, grouped, history, grouped history
    };
    const Row rows[] = {{"SH600001", 0, Balanced, Balanced, {}},
                        {"SH600002", -250, Order, Order, {200, 200, 200, 250}},
                        {"SH600003", 50, Order, BelowLot, {50, 0, 50, 0}},
                        {"SH600004", -50, BelowLot, BelowLot, {}},
                        {"SH600005", 300, NoInstrument, NoInstrument, {}},
                        {"SH688001", -150, Order, Order, {150, 150, 150, 150}},
                        {"SZ300001", 250, Order, Order, {250, 250, 250, 250}}};
    const auto& manager = f.manager();
    const TC::BalancePlan plans[] = {
        manager.previewBalance("A", "S"), manager.previewBalance("A", "S", true),
        manager.previewHistoryBalance("A", "S"), manager.previewHistoryBalance("A", "S", true)};
    for (std::size_t form = 0; form < 4; ++form) {
        const auto& plan = plans[form];
        EXPECT_EQ(plan.refusal, EBalanceRefusal::None);
        ASSERT_EQ(plan.stocks.size(), std::size(rows));
        for (std::size_t at = 0; at < std::size(rows); ++at) {
            SCOPED_TRACE(fmt::format("{} in form {}", rows[at].stock, form));
            const auto& stock = plan.stocks[at];
            EXPECT_EQ(stock.stockKey, rows[at].stock);
            EXPECT_EQ(stock.difference, rows[at].difference);
            EXPECT_EQ(stock.bought - stock.sold, rows[at].difference);
            EXPECT_EQ(stock.outcome, form % 2 ? rows[at].grouped : rows[at].perStock);
            EXPECT_EQ(stock.volume, rows[at].volume[form]);
        }
    }
    EXPECT_EQ(manager.previewBalance("A", "unknown").refusal, EBalanceRefusal::NoFigures);
    EXPECT_EQ(manager.previewHistoryBalance("Z", "S").refusal, EBalanceRefusal::NoAccountData);
    EXPECT_TRUE(f.commands().empty());
    EXPECT_TRUE(f.log().empty());
}

TEST(BalanceParams, TradeParameterIsStrictJsonOfTexts) {
    Fixture f;
    EXPECT_EQ(f.manager().genTradeParam("600000", 11, 10.5, 200),
              R"({ "stockcode" : "600000", "pricetype" : "11", "price" : "10.5", "vol" : "200" })");
    EXPECT_EQ(f.manager().genTradeParam("中\"", 5, 0.1 + 0.2, -1),
              R"({ "stockcode" : "中\"", "pricetype" : "5", "price" : "0.30000000000000004", )"
              R"("vol" : "-1" })");
}

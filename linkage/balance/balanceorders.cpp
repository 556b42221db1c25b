#include "linkage/balance/balanceorders.h"

#include "linkage/balance/balanceaccount.h"
#include "linkage/balance/balancestate.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/attribution.h"
#include "linkage/tape/services.h"
#include "platform/log.h"
#include "platform/services/clientconfig.h"
#include "platform/services/dovcommandcenter.h"
#include "platform/services/orderrules.h"
#include "platform/services/quoteclient.h"
#include "platform/services/stockmanager.h"
#include "platform/utils/keys.h"
#include "platform/utils/text.h"

#include <mongo/bson/bson.h>

#include <algorithm>
#include <limits>

namespace TC {

namespace {

using OrderParamPtr = boost::shared_ptr<vexservice::CCodeOrderParam>;

constexpr int ORDER_KIND = 49;
constexpr int STRATEGY_MARKER = 9;

constexpr char PREPARE_BALANCE[] = "TC::CLinkageManager::prepareBalance";

int strategyMarker(const std::string& strategy) { return strategy.empty() ? 0 : STRATEGY_MARKER; }

BalanceLot lotOf(const vexservice::CInstrumentDetail& detail) {
    const auto typed = [&](int type) {
        return service<vexservice::StockTypeCenter>().isTypedStock(type, detail.m_strMarket,
                                                                   detail.m_strCode);
    };
    return {
        service<vexservice::StockTypeCenter>().tradeMinUnit(detail.m_strMarket, detail.m_strCode),
        typed(vexservice::STOCKTYPE_ANY_VOLUME_A) || typed(vexservice::STOCKTYPE_ANY_VOLUME_B)};
}

/// Price type and price after the user's settings and the newest quote. Shanghai wants
/// a protective price with market orders once the registration rules hold.
void priceOrder(vexservice::CCodeOrderParam& order, int volume) {
    const auto& stock = order.m_stock;
    const auto quote = service<CQuoteClient>().getStockPrice(
        Pim::sToQs(utils::zorStockKey(stock.m_strMarket, stock.m_strCode)));
    const CTradeSetting settings(service<CUserConfig>().getUserDataAddress(USER_TRADE_SETTING));
    const bool credit = order.m_pAccountInfo->m_nType == vexservice::ACCOUNT_CREDIT;
    service<vexservice::IOrderRules>().orderSettingToParam(
        credit ? settings.m_credit : settings.m_stock, order, order.m_eOperationType, volume, 0.0,
        quote);
    if (vexservice::isRealMarketPrice(order.m_ePriceType) && stock.m_strMarket == "SH" &&
        service<vexservice::ConfigCollector>().useRegistRules()) {
        order.m_dPrice = service<vexservice::IOrderRules>().getPriceForOrder(
            quote, order.m_ePriceType, order.m_eOperationType);
    }
}

OrderParamPtr makeOrder(const boost::shared_ptr<vexservice::CAccountInfo>& account,
                        const vexservice::CInstrumentDetail& detail, const std::string& strategy,
                        const BalanceDecision& decision) {
    OrderParamPtr order(new vexservice::CCodeOrderParam);
    order->m_pAccountInfo = account;
    order->m_stock = {detail.m_strMarket, detail.m_strCode, detail.m_strName,
                      detail.m_strProductID};
    order->m_eOperationType = decision.side;
    order->m_nVolume = decision.volume;
    order->m_nOrderKind = ORDER_KIND;
    order->m_strStrategyName = strategy;
    order->m_strStrategyName2 = strategy;
    order->m_nStrategyMarker = strategyMarker(strategy);
    priceOrder(*order, decision.volume);
    service<vexservice::IOrderRules>().fixTimeRange(*order);
    return order;
}

std::int32_t within32(std::int64_t volume) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(volume, Limits::min(), Limits::max()));
}

void showGuarded(const GuardVolumes& volumes, StockBalance& stock) {
    stock.bought = within32(volumes.bought);
    stock.sold = within32(volumes.sold);
    stock.difference = within32(volumes.bought - volumes.sold);
    stock.least = volumes.least();
    stock.most = volumes.most();
}

void prepareStock(const BalanceRequest& request, const std::string& stockKey,
                  const EffectiveFigures& figures, PreparedBalance& prepared) {
    std::optional<GuardVolumes> guarded;
    if (request.guard) {
        const auto at = request.guard->find(stockKey);
        guarded = at == request.guard->end() ? GuardVolumes() : at->second;
    }
    const int difference = figures.net();
    const bool unequal = guarded ? guardSurplus(*guarded) != 0 : difference != 0;
    std::shared_ptr<vexservice::CInstrumentDetail> detail;
    if (unequal) {
        detail = service<CStockManager>().getInstrumentDetail(Pim::sToQs(stockKey));
    }
    const auto lot = detail ? std::optional(lotOf(*detail)) : std::nullopt;
    const auto decision = guarded ? decideGuarded(*guarded, lot, request.form)
                                  : decideBalance(figures, lot, request.form);

    StockBalance stock{stockKey, figures.buyVolume, figures.sellVolume, difference,
                       decision.outcome};
    if (guarded) showGuarded(*guarded, stock);
    OrderParamPtr order;
    if (decision.outcome == EBalanceOutcome::Order) {
        order = makeOrder(prepared.account, *detail, request.strategy, decision);
        stock.side = order->m_eOperationType;
        stock.volume = order->m_nVolume;
        stock.priceType = order->m_ePriceType;
        stock.price = order->m_dPrice;
    }
    prepared.plan.stocks.push_back(std::move(stock));
    prepared.orders.push_back(std::move(order));
}

using CommandPtr = boost::shared_ptr<vexservice::COrderComandParam>;

CommandPtr makeCommand(const BalanceRequest& request, int commandType,
                       std::vector<OrderParamPtr> orders, bool group) {
    boost::shared_ptr<vexservice::COrderComandParam> command(new vexservice::COrderComandParam);
    command->m_nCommandType = commandType;
    command->m_orders = std::move(orders);
    command->m_bGroup = group;
    command->m_strStrategyName = request.strategy;
    command->m_strStrategyName2 = request.history ? HISTORY_BALANCE_TAG : request.strategy;
    command->m_nStrategyMarker = strategyMarker(request.strategy);
    return command;
}

CommandPtr stockCommand(const BalanceRequest& request, const PreparedBalance& prepared,
                        const OrderParamPtr& order) {
    const bool credit = prepared.account->m_nType == vexservice::ACCOUNT_CREDIT;
    return makeCommand(request, credit ? vexservice::COMMAND_CREDIT : vexservice::COMMAND_STOCK,
                       {order}, false);
}

void send(const CommandPtr& command) {
    service<CDovCommandCenter>().createCommand(command, {}, true, 0);
}

void logRefusal(const BalanceRequest& request, const PreparedBalance& prepared,
                const BalanceTexts& texts) {
    const std::string& account = request.accountkey;
    switch (prepared.plan.refusal) {
        case EBalanceRefusal::None:
        case EBalanceRefusal::NoAnswer:  // was logged where it was thrown
            break;
        case EBalanceRefusal::NoAccountData:
            LINKAGE_LOG_INFO(texts.operation, fmt::runtime(texts.noAccountData), account);
            break;
        case EBalanceRefusal::NoAccountInfo:
            LINKAGE_LOG_INFO(texts.operation, fmt::runtime(texts.noAccountInfo), account);
            break;
        case EBalanceRefusal::WrongAccountType:
            LINKAGE_LOG_INFO(texts.operation, fmt::runtime(texts.wrongType),
                             prepared.account->m_nType);
            break;
        case EBalanceRefusal::NoFigures:
            LINKAGE_LOG_INFO(texts.operation, fmt::runtime(texts.noFigures), account,
                             request.strategy);
            break;
    }
}

}  // namespace

BalanceRequest BalanceRequest::today(const CLinkageManager& manager, const std::string& accountkey,
                                     const std::string& strategy, EBalanceForm form,
                                     bool clientType3) {
    return {.accountkey = accountkey,
            .strategy = strategy,
            .form = form,
            .history = false,
            .checkType = false,
            .clientType3 = clientType3,
            .figures = manager.getTradeStatDatas(accountkey, strategy)};
}

BalanceRequest BalanceRequest::ofHistory(const CLinkageManager& manager,
                                         const std::string& accountkey, const std::string& strategy,
                                         EBalanceForm form, bool clientType3) {
    return {.accountkey = accountkey,
            .strategy = strategy,
            .form = form,
            .history = true,
            .checkType = true,
            .clientType3 = clientType3,
            .figures = manager.getHistoryOfPair(accountkey, strategy)};
}

PreparedBalance prepareBalance(const BalanceRequest& request) {
    PreparedBalance prepared;
    BalancePlan& plan = prepared.plan;
    plan.form = request.form;
    BalanceAccount account{EBalanceRefusal::NoAnswer, {}};
    attempt(PREPARE_BALANCE, [&] { account = findBalanceAccount(request.accountkey); });
    plan.refusal = account.refusal;
    prepared.account = std::move(account.info);
    if (plan.refusal != EBalanceRefusal::None) return prepared;
    if (request.checkType && !isBalancedType(*prepared.account)) {
        plan.refusal = EBalanceRefusal::WrongAccountType;
    } else if (request.figures.empty()) {
        plan.refusal = EBalanceRefusal::NoFigures;
    }
    if (plan.refusal != EBalanceRefusal::None) return prepared;

    plan.stocks.reserve(request.figures.size());
    prepared.orders.reserve(request.figures.size());
    for (const auto& [stockKey, record] : request.figures) {
        if (!record) continue;
        const EffectiveFigures figures = effectiveFigures(*record, request.clientType3);
        const auto prepare = [&, &key = stockKey] {
            prepareStock(request, key, figures, prepared);
        };
        if (attempt(PREPARE_BALANCE, prepare)) continue;
        // The other stocks are still balanced.
        plan.stocks.push_back({stockKey, figures.buyVolume, figures.sellVolume, figures.net(),
                               EBalanceOutcome::NoAnswer});
        prepared.orders.emplace_back();
    }
    return prepared;
}

void sendPerStock(const BalanceRequest& request, const PreparedBalance& prepared,
                  const BalanceTexts& texts) {
    logRefusal(request, prepared, texts);
    const auto& stocks = prepared.plan.stocks;
    for (std::size_t at = 0; at < stocks.size(); ++at) {
        const StockBalance& stock = stocks[at];
        switch (stock.outcome) {
            case EBalanceOutcome::Balanced:
                LINKAGE_LOG_INFO(texts.operation, fmt::runtime(texts.balanced), stock.stockKey);
                break;
            case EBalanceOutcome::NoInstrument:
                LINKAGE_LOG_INFO(texts.operation, fmt::runtime(texts.noInstrument), stock.stockKey);
                break;
            case EBalanceOutcome::BelowLot:
            case EBalanceOutcome::Waiting:
            case EBalanceOutcome::TaskRunning:
            case EBalanceOutcome::NoAnswer:  // was logged where it was thrown
                break;
            case EBalanceOutcome::Order:
                LINKAGE_LOG_INFO(
                    texts.operation,
                    "account [{0}] strategy [{1}] stock [{2}] [buynum({3}) - sellnum({4})]",
                    prepared.account->m_strID, request.strategy, stock.stockKey, stock.bought,
                    stock.sold);
                attempt(texts.operation,
                        [&] { send(stockCommand(request, prepared, prepared.orders[at])); });
                break;
        }
    }
}

std::vector<CommandPtr> commandsOf(const BalanceRequest& request, const PreparedBalance& prepared) {
    std::vector<OrderParamPtr> orders;
    orders.reserve(prepared.orders.size());
    for (const auto& order : prepared.orders) {
        if (order) orders.push_back(order);
    }
    std::vector<CommandPtr> commands;
    if (request.form == EBalanceForm::SignalTask) {
        for (const auto& order : orders) commands.push_back(stockCommand(request, prepared, order));
    } else if (!orders.empty()) {
        commands.push_back(
            makeCommand(request, vexservice::COMMAND_GROUP, std::move(orders), true));
    }
    return commands;
}

void sendGrouped(const BalanceRequest& request, const PreparedBalance& prepared,
                 const char* operation) {
    for (const CommandPtr& command : commandsOf(request, prepared)) {
        attempt(operation, [&] { send(command); });
    }
}

}  // namespace TC

#include "linkage/balance/balancebook.h"
#include "replay/operations.h"

namespace replay {

namespace {

using Manager = TC::CLinkageManager;
using Keys = std::set<std::string>;

int dayArgument(const Call& call, std::size_t index) { return dayNumber(call.arg(index).date()); }

/// Queries of (day, stock key, account keys).
template <auto MEMBER>
constexpr Operation dayQuery(std::string_view name) {
    return {name, 3, [](Call& call) {
                write(call.result,
                      (call.manager.*MEMBER)(dayArgument(call, 0), std::string(call.arg(1).text()),
                                             readArgument<Keys>(call.arg(2))));
            }};
}

/// Queries of (account, day).
template <auto MEMBER>
constexpr Operation accountDayQuery(std::string_view name) {
    return {name, 2, [](Call& call) {
                write(call.result, (call.manager.*MEMBER)(std::string(call.arg(0).text()),
                                                          dayArgument(call, 1)));
            }};
}

/// Totals by day of (accounts, strategies, stock keys, flag).
template <auto MEMBER>
constexpr Operation totals(std::string_view name) {
    return {name, 4, [](Call& call) {
                const auto byDay = (call.manager.*MEMBER)(
                    readArgument<Keys>(call.arg(0)), readArgument<Keys>(call.arg(1)),
                    readArgument<Keys>(call.arg(2)), call.arg(3).flag());
                const auto leaf = [](CJsonWriter& out, const auto& value) { write(out, value); };
                writeMap(call.result, byDay, leaf, EKeys::DAYS);
            }};
}

/// Display texts of a number.
template <QString (*FUNCTION)(int)>
constexpr Operation text(std::string_view name) {
    return {name, 1, [](Call& call) { write(call.result, FUNCTION(call.arg(0).whole<int>())); }};
}

/// Of one account, or, given a list of accounts, of each by its key.
void getTradeStatDatas(Call& call) {
    const std::string strategy(call.arg(1).text());
    if (!call.arg(0).isList()) {
        write(call.result, std::as_const(call.manager)
                               .getTradeStatDatas(std::string(call.arg(0).text()), strategy));
        return;
    }
    std::map<std::string, std::map<std::string, boost::shared_ptr<TC::LinkagePeriodExtData>>> all;
    call.manager.getTradeStatDatas(readArgument<std::list<std::string>>(call.arg(0)), strategy,
                                   all);
    write(call.result, all);
}

void getAccounts(Call& call) {
    call.result.beginArray();
    for (const auto& account : call.manager.getAccounts()) call.result.value(account->getKey());
    call.result.endArray();
}

void getPositionNumber(Call& call) {
    QList<QString> accountIds;
    QList<int> volumes;
    QList<int> availables;
    call.manager.getPositionNumber(readArgument<QString>(call.arg(0)), accountIds, volumes,
                                   availables, readArgument<QList<QString>>(call.arg(1)));
    call.result.beginObject();
    call.result.key("accountIds");
    write(call.result, accountIds);
    call.result.key("availables");
    write(call.result, availables);
    call.result.key("volumes");
    write(call.result, volumes);
    call.result.endObject();
}

boost::shared_ptr<vexservice::CTaskDetail> findTask(const Manager& manager, std::uint64_t key) {
    for (const auto& [stock, accounts] : manager.state().taskDetails) {
        for (const auto& [account, tasks] : accounts) {
            if (const auto found = tasks.find(key); found != tasks.end()) return found->second;
        }
    }
    return {};
}

void getTaskItemFinishNumber(Call& call) {
    const auto task = findTask(call.manager, call.arg(0).whole<std::uint64_t>());
    call.result.value(call.manager.getTaskItemFinishNumber(task, std::string(call.arg(1).text())));
}

void writeStock(CJsonWriter& out, const TC::BalanceStock& stock) {
    out.beginObject();
    out.member("bought", stock.bought);
    out.member("filled", stock.filled);
    out.member("least", stock.least);
    out.member("most", stock.most);
    out.member("reason", stock.reason);
    out.member("remains", stock.remains);
    out.member("sent", stock.sent);
    out.member("sold", stock.sold);
    out.endObject();
}

void writeBalance(CJsonWriter& out, const TC::BalanceRecord& balance) {
    out.beginObject();
    out.member("account", balance.account);
    out.member("asked", balance.asked);
    out.member("cancelledOrders", balance.cancelledOrders);
    out.member("cancelledTasks", balance.cancelledTasks);
    out.key("commands");
    out.beginArray();
    for (const int number : balance.commands) out.value(number);
    out.endArray();
    out.member("ended", balance.ended);
    out.member("history", balance.history);
    out.member("number", balance.number);
    out.member("reason", balance.reason);
    out.member("rounds", balance.rounds);
    out.member("state", TC::textOf(balance.state));
    out.key("stocks");
    writeMap(out, balance.stocks, writeStock);
    out.member("strategy", balance.strategy);
    out.endObject();
}

void getBalances(Call& call) {
    const auto chosen = [&](std::size_t at) -> std::optional<std::string> {
        if (call.arg(at).isNull()) return std::nullopt;
        return std::string(call.arg(at).text());
    };
    call.result.beginArray();
    for (const auto& balance : call.manager.getBalances(chosen(0), chosen(1))) {
        writeBalance(call.result, balance);
    }
    call.result.endArray();
}

constexpr Operation QUERY_OPERATIONS[] = {
    {"getBalances", 2, getBalances},
    operation<&Manager::getTradeDate>("getTradeDate"),
    operation<&Manager::getStocks>("getStocks"),
    operation<&Manager::getStrategys>("getStrategys"),
    operation<&Manager::getRunningOrders>("getRunningOrders"),
    operation<&Manager::getRunningTasks>("getRunningTasks"),
    operation<&Manager::getHistoryRunningOrders>("getHistoryRunningOrders"),
    operation<&Manager::getHistoryRunningTasks>("getHistoryRunningTasks"),
    {"getTradeStatDatas", 2, getTradeStatDatas},
    operation<&Manager::getHistoryStatData>("getHistoryStatData"),
    operation<&Manager::getHistoryLinkageData>("getHistoryLinkageData"),
    dayQuery<&Manager::getOrderDetails>("getOrderDetails"),
    dayQuery<&Manager::getDealDetails>("getDealDetails"),
    operation<&Manager::getTaskDetails>("getTaskDetails"),
    dayQuery<&Manager::getBuySellVolumes>("getBuySellVolumes"),
    dayQuery<&Manager::getBuySellAmounts>("getBuySellAmounts"),
    {"getAccounts", 0, getAccounts},
    operation<&Manager::getAccountIds>("getAccountIds"),
    operation<&Manager::getOrderAmplitude>("getOrderAmplitude"),
    operation<&Manager::getDealAmplitude>("getDealAmplitude"),
    operation<&Manager::getOrderNumberByPrice>("getOrderNumberByPrice"),
    {"getTaskItemFinishNumber", 2, getTaskItemFinishNumber},
    totals<&Manager::getTotalProfits>("getTotalProfits"),
    totals<&Manager::getTotalBalances>("getTotalBalances"),
    totals<&Manager::getTotalBuySellAmounts>("getTotalBuySellAmounts"),
    {"getPositionNumber", 2, getPositionNumber},
    accountDayQuery<&Manager::getAccountDeals>("getAccountDeals"),
    accountDayQuery<&Manager::getAccountOrders>("getAccountOrders"),
    text<&TC::getOrderStatusQString>("getOrderStatusQString"),
    text<&TC::getTaskStatusQString>("getTaskStatusQString"),
    text<&TC::getPriceTypeQString>("getPriceTypeQString"),
};

}  // namespace

std::span<const Operation> queryOperations() { return QUERY_OPERATIONS; }

}  // namespace replay

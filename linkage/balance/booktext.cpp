#include "linkage/balance/booknames.h"
#include "linkage/balance/guardedbalance.h"
#include "platform/utils/text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <optional>
#include <string_view>
#include <utility>

namespace TC {

namespace {

std::int64_t wholeOf(const QJsonObject& object, const char* name) {
    return object[QLatin1String(name)].toVariant().toLongLong();
}
std::string textOf(const QJsonObject& object, const char* name) {
    return object[QLatin1String(name)].toString().toStdString();
}

template <class Enum, std::size_t N>
bool readName(const QJsonObject& object, const char* name, const char* const (&names)[N],
              Enum& value) {
    const std::string found = textOf(object, name);
    for (std::size_t at = 0; at < N; ++at) {
        if (found == names[at]) {
            value = static_cast<Enum>(at);
            return true;
        }
    }
    return false;
}

void readCommands(const QJsonObject& object, GuardedBalance& balance) {
    for (const auto each : object[QLatin1String("commands")].toArray()) {
        const QJsonObject from = each.toObject();
        SentCommand command;
        command.number = static_cast<int>(wholeOf(from, "number"));
        command.round = static_cast<int>(wholeOf(from, "round"));
        command.sentAt = wholeOf(from, "sent");
        command.refused = from[QLatin1String("refused")].toBool();
        command.text = textOf(from, "text");
        for (const auto value : from[QLatin1String("orders")].toArray()) {
            const QJsonObject order = value.toObject();
            command.orders.push_back({.stock = textOf(order, "stock"),
                                      .buys = textOf(order, "side") == "buy",
                                      .priced = order[QLatin1String("priced")].toBool(),
                                      .volume = wholeOf(order, "volume"),
                                      .filled = wholeOf(order, "filled"),
                                      .heard = order[QLatin1String("heard")].toBool(),
                                      .ended = order[QLatin1String("final")].toBool(),
                                      .rejected = order[QLatin1String("rejected")].toBool(),
                                      .remark = textOf(order, "remark"),
                                      .lost = order[QLatin1String("lost")].toBool()});
        }
        balance.commands.push_back(std::move(command));
    }
}

void readStocks(const QJsonObject& object, GuardedBalance& balance) {
    const QJsonObject stocks = object[QLatin1String("stocks")].toObject();
    for (auto at = stocks.begin(); at != stocks.end(); ++at) {
        const QJsonObject from = at.value().toObject();
        BalancedStock& stock = balance.stocks[at.key().toStdString()];
        stock.bought = wholeOf(from, "bought");
        stock.sold = wholeOf(from, "sold");
        stock.least = wholeOf(from, "least");
        stock.most = wholeOf(from, "most");
        stock.sent = wholeOf(from, "sent");
        stock.filled = wholeOf(from, "filled");
        stock.remains = wholeOf(from, "remains");
        stock.planned = wholeOf(from, "planned");
        stock.outcome = static_cast<EBalanceOutcome>(wholeOf(from, "outcome"));
        stock.reason = textOf(from, "reason");
    }
}

std::optional<GuardedBalance> readLine(std::string_view line) {
    const auto document = QJsonDocument::fromJson(
        QByteArray::fromRawData(line.data(), static_cast<int>(line.size())));
    if (!document.isObject()) return std::nullopt;
    const QJsonObject object = document.object();
    GuardedBalance balance;
    balance.number = static_cast<int>(wholeOf(object, "number"));
    const bool named = readName(object, "state", book::STATES, balance.state) &&
                       readName(object, "form", book::FORMS, balance.form) &&
                       readName(object, "by", book::ASKERS, balance.asker);
    if (!named || balance.number < 1) return std::nullopt;
    balance.date = textOf(object, "date");
    balance.pair = {textOf(object, "account"), textOf(object, "strategy"),
                    object[QLatin1String("history")].toBool()};
    balance.atOnce = object[QLatin1String("atOnce")].toBool();
    balance.askedAt = wholeOf(object, "asked");
    balance.dueAt = wholeOf(object, "due");
    balance.cancelAt = wholeOf(object, "cancelling");
    balance.sentAt = wholeOf(object, "sent");
    balance.endedAt = wholeOf(object, "ended");
    balance.rounds = static_cast<int>(wholeOf(object, "rounds"));
    balance.reason = textOf(object, "reason");
    balance.remainsOpen = object[QLatin1String("remainsOpen")].toBool();
    balance.cancelledTasks = static_cast<int>(wholeOf(object, "cancelledTasks"));
    for (const auto each : object[QLatin1String("cancelledOrders")].toArray()) {
        const QJsonObject from = each.toObject();
        const auto key = from[QLatin1String("order")].toString().toULongLong();
        balance.cancelledOrders[key] = {wholeOf(from, "asked"), wholeOf(from, "confirmed")};
    }
    readCommands(object, balance);
    readStocks(object, balance);
    return balance;
}

}  // namespace

const char* textOf(EBalanceState state) { return book::STATES[static_cast<int>(state)]; }

BalanceRecord recordOf(const GuardedBalance& balance) {
    BalanceRecord record{.number = balance.number,
                         .date = balance.date,
                         .account = balance.pair.account,
                         .strategy = balance.pair.strategy,
                         .history = balance.pair.history,
                         .asked = bookTime(balance.askedAt),
                         .ended = bookTime(balance.endedAt),
                         .state = balance.state,
                         .cancelledOrders = static_cast<int>(balance.cancelledOrders.size()),
                         .cancelledTasks = balance.cancelledTasks,
                         .rounds = balance.rounds,
                         .reason = balance.reason};
    for (const SentCommand& command : balance.commands) {
        if (command.number != 0) record.commands.push_back(command.number);
    }
    for (const auto& [key, stock] : balance.stocks) record.stocks.emplace(key, stock);
    return record;
}

std::map<int, GuardedBalance> readBook(const std::string& text, int& damaged) {
    std::map<int, GuardedBalance> balances;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        if (line.empty()) continue;
        if (auto balance = readLine(line)) {
            balances[balance->number] = std::move(*balance);
        } else {
            ++damaged;
        }
    }
    return balances;
}

}  // namespace TC

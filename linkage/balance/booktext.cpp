#include "linkage/balance/guardedbalance.h"
#include "platform/utils/text.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <optional>
#include <string_view>

namespace TC {

namespace {

constexpr const char* STATES[] = {"asked", "cancelling", "sent", "ended", "refused"};
constexpr const char* FORMS[] = {"perStock", "grouped", "groupedHistory"};
constexpr const char* ASKERS[] = {"demand", "schedule"};

QString momentText(std::int64_t micros, const char* format) {
    return micros == 0 ? QString() : QDateTime::fromMSecsSinceEpoch(micros / 1000).toString(format);
}

QJsonValue whole(std::int64_t number) { return {static_cast<qint64>(number)}; }
QJsonValue text(const std::string& value) { return {Pim::sToQs(value)}; }

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

QJsonArray commandsJson(const GuardedBalance& balance) {
    QJsonArray commands;
    for (const SentCommand& command : balance.commands) {
        QJsonArray orders;
        for (const SentOrder& order : command.orders) {
            orders.append(QJsonObject{{"stock", text(order.stock)},
                                      {"side", order.buys ? "buy" : "sell"},
                                      {"volume", whole(order.volume)},
                                      {"priced", order.priced},
                                      {"filled", whole(order.filled)},
                                      {"heard", order.heard},
                                      {"final", order.ended},
                                      {"rejected", order.rejected},
                                      {"remark", text(order.remark)},
                                      {"lost", order.lost}});
        }
        commands.append(QJsonObject{{"number", command.number},
                                    {"round", command.round},
                                    {"sent", whole(command.sentAt)},
                                    {"refused", command.refused},
                                    {"text", text(command.text)},
                                    {"orders", orders}});
    }
    return commands;
}

QJsonObject stocksJson(const GuardedBalance& balance) {
    QJsonObject stocks;
    for (const auto& [key, stock] : balance.stocks) {
        stocks[Pim::sToQs(key)] = QJsonObject{{"bought", whole(stock.bought)},
                                              {"sold", whole(stock.sold)},
                                              {"least", whole(stock.least)},
                                              {"most", whole(stock.most)},
                                              {"sent", whole(stock.sent)},
                                              {"filled", whole(stock.filled)},
                                              {"remains", whole(stock.remains)},
                                              {"planned", whole(stock.planned)},
                                              {"outcome", static_cast<int>(stock.outcome)},
                                              {"reason", text(stock.reason)}};
    }
    return stocks;
}

QJsonArray cancelledJson(const GuardedBalance& balance) {
    QJsonArray orders;
    for (const auto& [key, order] : balance.cancelledOrders) {
        // A record key may need more digits than a JSON number keeps.
        orders.append(QJsonObject{{"order", QString::number(key)},
                                  {"asked", whole(order.asked)},
                                  {"confirmed", whole(order.confirmed)}});
    }
    return orders;
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
    const bool named = readName(object, "state", STATES, balance.state) &&
                       readName(object, "form", FORMS, balance.form) &&
                       readName(object, "by", ASKERS, balance.asker);
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

const char* textOf(EBalanceState state) { return STATES[static_cast<int>(state)]; }

BalanceRecord recordOf(const GuardedBalance& balance) {
    BalanceRecord record{.number = balance.number,
                         .date = balance.date,
                         .account = balance.pair.account,
                         .strategy = balance.pair.strategy,
                         .history = balance.pair.history,
                         .asked = momentText(balance.askedAt, "hh:mm:ss").toStdString(),
                         .ended = momentText(balance.endedAt, "hh:mm:ss").toStdString(),
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

std::string bookLine(const GuardedBalance& balance, const std::string& step, std::int64_t now) {
    const QJsonObject object{{"at", momentText(now, "yyyy-MM-dd hh:mm:ss.zzz")},
                             {"step", text(step)},
                             {"number", balance.number},
                             {"date", text(balance.date)},
                             {"account", text(balance.pair.account)},
                             {"strategy", text(balance.pair.strategy)},
                             {"history", balance.pair.history},
                             {"form", FORMS[static_cast<int>(balance.form)]},
                             {"by", ASKERS[static_cast<int>(balance.asker)]},
                             {"atOnce", balance.atOnce},
                             {"state", STATES[static_cast<int>(balance.state)]},
                             {"asked", whole(balance.askedAt)},
                             {"due", whole(balance.dueAt)},
                             {"cancelling", whole(balance.cancelAt)},
                             {"sent", whole(balance.sentAt)},
                             {"ended", whole(balance.endedAt)},
                             {"rounds", balance.rounds},
                             {"reason", text(balance.reason)},
                             {"remainsOpen", balance.remainsOpen},
                             {"cancelledOrders", cancelledJson(balance)},
                             {"cancelledTasks", balance.cancelledTasks},
                             {"commands", commandsJson(balance)},
                             {"stocks", stocksJson(balance)}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString() + "\n";
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

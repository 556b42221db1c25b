#include "lab/book.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace lab {

namespace {

std::string textOf(const QJsonObject& object, const char* name) {
    return object[QLatin1String(name)].toString().toStdString();
}
std::int64_t wholeOf(const QJsonObject& object, const char* name) {
    return object[QLatin1String(name)].toVariant().toLongLong();
}
bool flagOf(const QJsonObject& object, const char* name) {
    return object[QLatin1String(name)].toBool();
}

TC::EBalanceState stateOf(const std::string& name) {
    for (int at = 0; at < 5; ++at) {
        const auto state = static_cast<TC::EBalanceState>(at);
        if (name == TC::textOf(state)) return state;
    }
    return TC::EBalanceState::Asked;
}

std::string timeOf(std::int64_t micros) {
    if (micros == 0) return {};
    return QDateTime::fromMSecsSinceEpoch(micros / 1000).toString("hh:mm:ss").toStdString();
}

void readStocks(const QJsonObject& stocks, TC::BalanceRecord& record) {
    for (auto at = stocks.begin(); at != stocks.end(); ++at) {
        const QJsonObject from = at.value().toObject();
        TC::BalanceStock& stock = record.stocks[at.key().toStdString()];
        stock.bought = wholeOf(from, "bought");
        stock.sold = wholeOf(from, "sold");
        stock.least = wholeOf(from, "least");
        stock.most = wholeOf(from, "most");
        stock.sent = wholeOf(from, "sent");
        stock.filled = wholeOf(from, "filled");
        stock.remains = wholeOf(from, "remains");
        stock.reason = textOf(from, "reason");
    }
}

void readRecord(const QJsonObject& from, TC::BalanceRecord& record) {
    record.number = static_cast<int>(wholeOf(from, "number"));
    record.account = textOf(from, "account");
    record.strategy = textOf(from, "strategy");
    record.history = flagOf(from, "history");
    record.state = stateOf(textOf(from, "state"));
    record.asked = timeOf(wholeOf(from, "asked"));
    record.ended = timeOf(wholeOf(from, "ended"));
    record.rounds = static_cast<int>(wholeOf(from, "rounds"));
    record.reason = textOf(from, "reason");
    record.cancelledOrders = from[QLatin1String("cancelledOrders")].toArray().size();
    record.cancelledTasks = static_cast<int>(wholeOf(from, "cancelledTasks"));
    readStocks(from[QLatin1String("stocks")].toObject(), record);
}

}  // namespace

int placeOf(const std::vector<std::string>& names, const std::string& name) {
    const auto at = std::find(names.begin(), names.end(), name);
    return at == names.end() ? -1 : static_cast<int>(at - names.begin());
}

int placeOf(const std::vector<Stock>& stocks, const std::string& key) {
    const auto at = std::find_if(stocks.begin(), stocks.end(),
                                 [&](const Stock& stock) { return stock.key() == key; });
    return at == stocks.end() ? -1 : static_cast<int>(at - stocks.begin());
}

bool CBookReader::readLine(const std::string& line, BookEntry& entry) const {
    const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(line));
    if (!document.isObject()) return false;
    const QJsonObject from = document.object();
    readRecord(from, entry.record);
    const std::string form = textOf(from, "form");
    if (form == "grouped") entry.form = EForm::Grouped;
    if (form == "groupedHistory") entry.form = EForm::GroupedHistory;
    entry.atOnce = flagOf(from, "atOnce");
    entry.step = textOf(from, "step");
    for (const auto each : from[QLatin1String("commands")].toArray()) {
        const QJsonObject of = each.toObject();
        SentCommand command{.balance = entry.record.number,
                            .place = static_cast<int>(entry.commands.size()),
                            .pair = {placeOf(m_plan.accounts, entry.record.account),
                                     entry.record.strategy, entry.record.history},
                            .round = static_cast<int>(wholeOf(of, "round")),
                            .number = static_cast<int>(wholeOf(of, "number")),
                            .at = wholeOf(of, "sent"),
                            .refused = flagOf(of, "refused")};
        if (command.number != 0) entry.record.commands.push_back(command.number);
        for (const auto value : of[QLatin1String("orders")].toArray()) {
            const QJsonObject order = value.toObject();
            command.orders.push_back({.stock = placeOf(m_plan.stocks, textOf(order, "stock")),
                                      .buys = textOf(order, "side") == "buy",
                                      .volume = wholeOf(order, "volume"),
                                      .priced = flagOf(order, "priced"),
                                      .lost = flagOf(order, "lost")});
        }
        entry.commands.push_back(std::move(command));
    }
    return true;
}

// A book repeats a balance in each of its lines: only those are parsed that may be the last
// whole one of a balance.
std::map<int, BookEntry> CBookReader::read(const std::string& text) const {
    static const std::string NUMBER = "\"number\":";
    std::map<int, BookEntry> entries;
    std::size_t end = text.size();
    while (end > 0) {
        const std::size_t before = text.rfind('\n', end - 1);
        const std::size_t from = before == std::string::npos ? 0 : before + 1;
        const std::string line = text.substr(from, end - from);
        end = from == 0 ? 0 : from - 1;
        // The balance's own number stands behind those of its commands.
        const std::size_t number = line.rfind(NUMBER);
        if (number == std::string::npos) continue;
        if (entries.count(std::atoi(line.c_str() + number + NUMBER.size())) > 0) continue;
        BookEntry entry;
        if (readLine(line, entry)) entries.emplace(entry.record.number, std::move(entry));
    }
    return entries;
}

BookEntry CBookReader::last(const std::string& text) const {
    BookEntry entry;
    if (text.empty() || text.back() != '\n') return entry;
    const std::size_t before =
        text.size() < 2 ? std::string::npos : text.rfind('\n', text.size() - 2);
    const std::size_t from = before == std::string::npos ? 0 : before + 1;
    readLine(text.substr(from, text.size() - 1 - from), entry);
    return entry;
}

}  // namespace lab

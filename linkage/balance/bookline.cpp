#include "linkage/balance/booknames.h"
#include "linkage/balance/guardedbalance.h"
#include "platform/utils/text.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <fmt/format.h>

#include <algorithm>
#include <concepts>
#include <ctime>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <utility>

namespace TC {

namespace {

std::tm bookLocal(std::int64_t micros) {
    const auto seconds = static_cast<std::time_t>(micros / 1'000'000);
    std::tm local{};
    ::tzset();  // localtime_r alone need not know the zone
    ::localtime_r(&seconds, &local);
    return local;
}

std::string bookMoment(std::int64_t micros) {
    if (micros == 0) return {};
    const std::tm at = bookLocal(micros);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:03}", at.tm_year + 1900,
                       at.tm_mon + 1, at.tm_mday, at.tm_hour, at.tm_min, at.tm_sec,
                       micros / 1000 % 1000);
}

/// JSON without blanks, as QJsonDocument writes it: who writes an object writes its keys in byte
/// order. A book is written while orders wait, so nothing is built that is not in the line.
class CLineText {
public:
    CLineText() { m_text.reserve(1024); }

    void open(char bracket) {
        separate();
        m_text += bracket;
    }
    void close(char bracket) { m_text += bracket; }

    void key(std::string_view name) {
        separate();
        m_text += '"';
        m_text += name;
        m_text += "\":";
    }
    void textKey(const std::string& name) {
        text(name);
        m_text += ':';
    }

    void whole(std::int64_t number) {
        separate();
        fmt::format_to(std::back_inserter(m_text), "{}", number);
    }
    void text(const std::string& value) {
        separate();
        const bool plain = std::all_of(value.begin(), value.end(), [](char c) {
            return c >= ' ' && c <= '~' && c != '"' && c != '\\';
        });
        if (plain) {
            m_text += '"';
            m_text += value;
            m_text += '"';
            return;
        }
        const QByteArray list =
            QJsonDocument(QJsonArray{Pim::sToQs(value)}).toJson(QJsonDocument::Compact);
        m_text.append(list.data() + 1, static_cast<std::size_t>(list.size()) - 2);
    }

    template <std::integral Number>
    void member(std::string_view name, Number number) {
        key(name);
        if constexpr (std::is_same_v<Number, bool>) {
            m_text += number ? "true" : "false";
        } else {
            whole(number);
        }
    }
    void member(std::string_view name, const std::string& value) {
        key(name);
        text(value);
    }

    std::string take() && { return std::move(m_text) + "\n"; }

private:
    /// A comma, unless the text ends where a first value may stand.
    void separate() {
        const char last = m_text.empty() ? '{' : m_text.back();
        if (last != '{' && last != '[' && last != ':') m_text += ',';
    }

    std::string m_text;
};

void addOrder(const SentOrder& order, CLineText& line) {
    line.open('{');
    line.member("filled", order.filled);
    line.member("final", order.ended);
    line.member("heard", order.heard);
    line.member("lost", order.lost);
    line.member("priced", order.priced);
    line.member("rejected", order.rejected);
    line.member("remark", order.remark);
    line.member("side", std::string(order.buys ? "buy" : "sell"));
    line.member("stock", order.stock);
    line.member("volume", order.volume);
    line.close('}');
}

void addCommands(const GuardedBalance& balance, CLineText& line) {
    line.key("commands");
    line.open('[');
    for (const SentCommand& command : balance.commands) {
        line.open('{');
        line.member("number", command.number);
        line.key("orders");
        line.open('[');
        for (const SentOrder& order : command.orders) addOrder(order, line);
        line.close(']');
        line.member("refused", command.refused);
        line.member("round", command.round);
        line.member("sent", command.sentAt);
        line.member("text", command.text);
        line.close('}');
    }
    line.close(']');
}

void addStocks(const GuardedBalance& balance, CLineText& line) {
    line.key("stocks");
    line.open('{');
    for (const auto& [key, stock] : balance.stocks) {
        line.textKey(key);
        line.open('{');
        line.member("bought", stock.bought);
        line.member("filled", stock.filled);
        line.member("least", stock.least);
        line.member("most", stock.most);
        line.member("outcome", static_cast<int>(stock.outcome));
        line.member("planned", stock.planned);
        line.member("reason", stock.reason);
        line.member("remains", stock.remains);
        line.member("sent", stock.sent);
        line.member("sold", stock.sold);
        line.close('}');
    }
    line.close('}');
}

void addCancelled(const GuardedBalance& balance, CLineText& line) {
    line.key("cancelledOrders");
    line.open('[');
    for (const auto& [key, order] : balance.cancelledOrders) {
        line.open('{');
        line.member("asked", order.asked);
        line.member("confirmed", order.confirmed);
        // A record key may need more digits than a JSON number keeps.
        line.member("order", std::to_string(key));
        line.close('}');
    }
    line.close(']');
}

}  // namespace

std::string bookTime(std::int64_t micros) {
    if (micros == 0) return {};
    const std::tm at = bookLocal(micros);
    return fmt::format("{:02}:{:02}:{:02}", at.tm_hour, at.tm_min, at.tm_sec);
}

std::string bookLine(const GuardedBalance& balance, const std::string& step, std::int64_t now) {
    CLineText line;
    line.open('{');
    line.member("account", balance.pair.account);
    line.member("asked", balance.askedAt);
    line.member("at", bookMoment(now));
    line.member("atOnce", balance.atOnce);
    line.member("by", std::string(book::ASKERS[static_cast<int>(balance.asker)]));
    addCancelled(balance, line);
    line.member("cancelledTasks", balance.cancelledTasks);
    line.member("cancelling", balance.cancelAt);
    addCommands(balance, line);
    line.member("date", balance.date);
    line.member("due", balance.dueAt);
    line.member("ended", balance.endedAt);
    line.member("form", std::string(book::FORMS[static_cast<int>(balance.form)]));
    line.member("history", balance.pair.history);
    line.member("number", balance.number);
    line.member("reason", balance.reason);
    line.member("remainsOpen", balance.remainsOpen);
    line.member("rounds", balance.rounds);
    line.member("sent", balance.sentAt);
    line.member("state", std::string(book::STATES[static_cast<int>(balance.state)]));
    line.member("step", step);
    addStocks(balance, line);
    line.member("strategy", balance.pair.strategy);
    line.close('}');
    return std::move(line).take();
}

}  // namespace TC

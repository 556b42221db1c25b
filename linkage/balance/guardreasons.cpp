#include "linkage/balance/guardreasons.h"

#include <fmt/format.h>

#include <optional>

namespace TC {

namespace {

std::string withText(const char* reason, const std::string& text) {
    return text.empty() ? reason : fmt::format("{}: {}", reason, text);
}

std::optional<std::string> reasonOf(const SentCommand& command, const SentOrder& order) {
    if (command.refused) return withText(REASON_REFUSED, command.text);
    if (order.rejected) {
        return order.priced ? withText(REASON_REJECTED, order.remark) : REASON_NO_PRICE;
    }
    if (order.lost) return REASON_LOST;
    if (!order.ended) return REASON_RESTING;
    if (order.filled < order.volume) return REASON_CANCELLED;
    return std::nullopt;
}

// For a stock whose orders filled completely, although something remains: either the decision
// left it, or something was traded since.
std::string reasonOfRest(const BalancedStock& stock) {
    const std::int64_t difference = stock.bought - stock.sold;
    if (stock.remains != difference + stock.planned) return REASON_TRADED_SINCE;
    if (stock.planned == 0) return reasonOf(stock.outcome);
    const bool openLeft = (stock.planned < 0 ? stock.least : stock.most) != difference;
    return openLeft ? REASON_WAITING : REASON_BELOW_LOT;
}

}  // namespace

std::string replacedBy(int number) { return fmt::format("replaced by balance {}", number); }

std::string underWay(int number) { return fmt::format("balance {} is under way", number); }

std::string wholeAccountBy(int number) {
    return fmt::format("balance {} balanced the whole account", number);
}

const char* reasonOf(EBalanceRefusal refusal) {
    switch (refusal) {
        case EBalanceRefusal::None:
            return "";
        case EBalanceRefusal::NoAccountData:
            return "no account data";
        case EBalanceRefusal::NoAccountInfo:
            return "no account info";
        case EBalanceRefusal::WrongAccountType:
            return "neither a stock nor a credit account";
        case EBalanceRefusal::NoFigures:
            return "nothing was traded";
        case EBalanceRefusal::NoAnswer:
            return REASON_NO_ANSWER;
    }
    return "";
}

const char* reasonOf(EBalanceOutcome outcome) {
    switch (outcome) {
        case EBalanceOutcome::Order:
            return "";
        case EBalanceOutcome::Balanced:
            return REASON_BALANCED;
        case EBalanceOutcome::BelowLot:
            return REASON_BELOW_LOT;
        case EBalanceOutcome::NoInstrument:
            return REASON_NO_INSTRUMENT;
        case EBalanceOutcome::Waiting:
            return REASON_WAITING;
        case EBalanceOutcome::TaskRunning:
            return REASON_TASK;
        case EBalanceOutcome::NoAnswer:
            return REASON_NO_ANSWER;
    }
    return "";
}

std::string reasonAtEnd(const GuardedBalance& balance, const std::string& stockKey) {
    const auto at = balance.stocks.find(stockKey);
    if (at == balance.stocks.end()) return {};
    if (at->second.remains == 0) return REASON_BALANCED;
    for (const SentCommand& command : balance.commands) {
        if (command.round != balance.rounds) continue;
        for (const SentOrder& order : command.orders) {
            if (order.stock != stockKey) continue;
            if (auto reason = reasonOf(command, order)) return *reason;
        }
    }
    return reasonOfRest(at->second);
}

}  // namespace TC

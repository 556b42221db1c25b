#include "desk/scriptedasking.h"

namespace desk {

namespace {

bool isHistoryBalance(std::string_view operation) {
    return operation == "doHistoryBalance" || operation == "doHistoryBalanceBySignalTask";
}

}  // namespace

std::optional<int> balanceDelay(std::string_view operation) {
    if (operation == "runAutoBalance") return BALANCE_DELAY;
    const bool atOnce = operation == "runAutoBalanceTimer" || operation == "doStockBalance" ||
                        operation == "doStockBalanceBySignalTask" || isHistoryBalance(operation);
    return atOnce ? std::optional(0) : std::nullopt;
}

CScriptedAsking::CScriptedAsking(CBalanceWatch& watch, std::string_view operation,
                                 const replay::PairKey& pair, EAskedBy by) {
    if (operation == "cancelAllOrders" || operation == "cancelAllTasks") {
        m_cancelling.emplace(watch);
    } else if (const auto delay = balanceDelay(operation)) {
        m_asking.emplace(watch, pair, isHistoryBalance(operation), by, *delay);
    }
}

}  // namespace desk

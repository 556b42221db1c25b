#pragma once

#include "desk/picture.h"
#include "linkage/balance/balanceplan.h"
#include "linkage/store/importreport.h"

#include <QString>

#include <functional>
#include <map>
#include <string>

namespace desk {

class CEngine;

/// What a balance would do now.
struct PlanPreview {
    TC::BalancePlan plan;
    int runningOrders = 0;  ///< of the pair; they and its tasks are cancelled first
    int runningTasks = 0;
    std::map<std::string, double> lastPrices;  ///< yuan, of the plan's stocks, where known
};

/// What the user can ask of the library. Each call returns at once; the work is done on
/// the engine's thread, the answer comes on the window's. Without a manager nothing is
/// done, and only an import is answered, by a refusal.
///
/// Threads: the window's.
class CActions {
public:
    explicit CActions(CEngine& engine) : m_engine(engine) {}

    using PlanAnswer = std::function<void(const PlanPreview&)>;
    /// What a balance of the pair, or of its history, would send now.
    void preview(const Selection& pair, bool history, PlanAnswer answer);
    /// Asks for a balance; the answer is false when one is pending already.
    void balance(const Selection& pair, std::function<void(bool)> answer);
    void balanceHistory(const Selection& pair);

    /// `time` is "hhmmss".
    void setBalanceTime(const std::string& key, const std::string& time);
    void deleteBalanceTime(const std::string& key);

    /// Carries today's unequal stocks of a pair into the history store; the answer is
    /// false when that was done today already.
    void carryOver(const Selection& pair, std::function<void(bool)> answer);
    void deleteHistoryStock(const std::string& historyKey, const std::string& stock);
    void deleteBalancedHistory();
    void deleteAllHistory();

    void import(const QString& path, std::function<void(const TC::ImportReport&)> answer);

private:
    CEngine& m_engine;
};

/// Key of a pair in the balance-time table.
std::string balanceKey(const std::string& account, const std::string& strategy);

}  // namespace desk

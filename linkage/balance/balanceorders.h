#pragma once

#include "linkage/balance/balanceplan.h"
#include "linkage/balance/guardrule.h"
#include "linkage/ledger/types.h"
#include "platform/records/orderparam.h"

#include <boost/shared_ptr.hpp>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace TC {

class CLinkageManager;

/// What of a pair is to be balanced, and how.
struct BalanceRequest {
    std::string accountkey;
    std::string strategy;
    EBalanceForm form = EBalanceForm::SignalTask;
    bool history = false;    ///< figures of earlier days
    bool checkType = false;  ///< refuse accounts that are neither stock nor credit
    bool clientType3 = false;
    std::map<std::string, boost::shared_ptr<LinkagePeriodExtData>> figures;  ///< by stock key
    /// With the guard: what it knows of each stock; its rule then decides.
    std::optional<std::map<std::string, GuardVolumes>> guard;

    /// A pair's figures of today.
    static BalanceRequest today(const CLinkageManager& manager, const std::string& accountkey,
                                const std::string& strategy, EBalanceForm form, bool clientType3);
    /// What the history store holds of a pair. Other account types are refused.
    static BalanceRequest ofHistory(const CLinkageManager& manager, const std::string& accountkey,
                                    const std::string& strategy, EBalanceForm form,
                                    bool clientType3);
};

/// The one way to a balance: a plan and the orders that it describes.
struct PreparedBalance {
    BalancePlan plan;
    boost::shared_ptr<vexservice::CAccountInfo> account;  ///< empty when there is none
    /// Beside the plan's stocks; empty where the plan has no order.
    std::vector<boost::shared_ptr<vexservice::CCodeOrderParam>> orders;
};

/// Plans a balance and fills its orders at the newest quotes. Sends and logs nothing.
PreparedBalance prepareBalance(const BalanceRequest& request);

/// Log lines of the form that logs, with the arguments that each text gets.
struct BalanceTexts {
    const char* operation;
    const char* noAccountData;  ///< account key
    const char* noAccountInfo;  ///< account key
    const char* wrongType;      ///< account type
    const char* noFigures;      ///< account key, strategy
    const char* balanced;       ///< stock key
    const char* noInstrument;   ///< stock key
};

/// The commands that carry the plan's orders in the request's form.
std::vector<boost::shared_ptr<vexservice::COrderComandParam>> commandsOf(
    const BalanceRequest& request, const PreparedBalance& prepared);

/// Sends one command per order of the plan, logging as it goes.
void sendPerStock(const BalanceRequest& request, const PreparedBalance& prepared,
                  const BalanceTexts& texts);

/// Sends the plan's orders in one command; nothing when there is none. Logs only
/// what is thrown, under the name `operation`.
void sendGrouped(const BalanceRequest& request, const PreparedBalance& prepared,
                 const char* operation);

}  // namespace TC

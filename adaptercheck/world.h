#pragma once

#include "adaptercheck/stage.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/services/dovcommandcenter.h"
#include "platform/services/tradercenter.h"

#include <set>

/// What cases ask of the services, and what they let happen.
namespace adaptercheck {

/// Throws Failed when there is none.
vexservice::IDataCenter& dataCenter();
boost::shared_ptr<vexservice::CAccountData> accountData(const std::string& accountKey);

/// The account's records of a type; those of another class, and empty ones, are left out.
template <class Record>
std::vector<boost::shared_ptr<Record>> recordsOf(const vexservice::CAccountData& data, int type) {
    std::vector<boost::shared_ptr<vexservice::IData>> all;
    data.getVector(type, all);
    std::vector<boost::shared_ptr<Record>> records;
    for (const auto& each : all) {
        if (auto record = boost::dynamic_pointer_cast<Record>(each)) records.push_back(record);
    }
    return records;
}
std::vector<boost::shared_ptr<vexservice::COrderDetail>> ordersOf(const std::string& accountKey);
std::vector<boost::shared_ptr<vexservice::CDealDetail>> dealsOf(const std::string& accountKey);
/// The newest report of an order; empty when the account has none.
boost::shared_ptr<vexservice::COrderDetail> orderOf(const std::string& accountKey,
                                                    std::uint64_t orderKey);
/// Deals of the account that say they are of this order, with their volume together.
int dealtOf(const std::string& accountKey, std::uint64_t orderKey);

/// Orders that came after this was made.
class CNewOrders {
public:
    explicit CNewOrders(std::string accountKey);
    std::vector<boost::shared_ptr<vexservice::COrderDetail>> get() const;

private:
    const std::string m_strAccount;
    std::set<std::uint64_t> m_before;
};

/// A command as the library makes it: a buy of so many shares at the price that rests.
struct CommandTerms {
    std::string strategy = "kit";
    std::string tag = {};  ///< "": the strategy, as for balances of the day
    int volume = 300;
    bool completion = true;
    int second = 0;  ///< shares of a second order; 0: none
};

/// What became of one command.
class CSentCommand {
public:
    struct Completion {
        utils::VexError error;
        int number = 0;
        Heard heard;
        std::size_t orders = 0;  ///< of the command, that the account's records had by then
    };

    CSentCommand(CStage& stage, const CommandTerms& terms);

    /// Waits for the command's order, and fails without it.
    boost::shared_ptr<vexservice::COrderDetail> awaitOrder();
    /// Orders that came since the command was sent.
    std::vector<boost::shared_ptr<vexservice::COrderDetail>> orders() const {
        return m_orders.get();
    }
    /// Waits for the completion; empty when none has come.
    std::vector<Completion> awaitCompletion();

private:
    struct State {
        std::mutex mutex;
        std::vector<Completion> completions;
    };

    CStage& m_stage;
    const CNewOrders m_orders;
    const std::shared_ptr<State> m_pState = std::make_shared<State>();
};

/// An order of the account that rests: entered elsewhere where the adapter offers it, otherwise by
/// a command. Fails when it does not come.
boost::shared_ptr<vexservice::COrderDetail> restingOrder(CStage& stage, int volume);

/// A resting order of 300 shares trades 100 and then 200; returns its newest report.
boost::shared_ptr<vexservice::COrderDetail> tradeTwice(CStage& stage);

/// A shorthand for the account that the facts name; skips without one.
const std::string& account(CStage& stage);
/// The same for the stock.
std::string stock(CStage& stage);

/// Whether a text is a date "yyyyMMdd".
bool isDate(const std::string& text);

}  // namespace adaptercheck

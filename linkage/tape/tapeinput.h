#pragma once

#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/positionstatics.h"
#include "platform/records/pricedata.h"
#include "platform/records/taskdetail.h"
#include "platform/services/quoteclient.h"
#include "platform/utils/vexerror.h"

#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

/// What makes the manager take a step.
namespace TC {

/// A value that is JSON already.
struct TapeJson {
    std::string text;
};
/// An argument of a call, or a value of a signal.
using TapeValue = std::variant<std::monostate, bool, std::int64_t, double, std::string, TapeJson>;

inline TapeValue tapeValue(bool value) { return value; }
inline TapeValue tapeValue(int value) { return std::int64_t{value}; }
inline TapeValue tapeValue(double value) { return value; }
inline TapeValue tapeValue(const char* value) { return std::string(value); }
inline TapeValue tapeValue(std::string value) { return value; }
inline TapeValue tapeValue(TapeJson value) { return value; }

/// Names work that a step left for later: the `index`-th of that name that the step left. Step 0:
/// work that was left before the tape began; the index is its number (CLeftWorks).
struct Ticket {
    std::uint64_t step = 0;
    const char* name = "";
    std::uint64_t index = 0;
};

struct OrderInput {
    const std::string* accountKey;  ///< lives as long as the manager
    boost::shared_ptr<vexservice::COrderDetail> order;
};
struct DealInput {
    const std::string* accountKey;  ///< lives as long as the manager
    boost::shared_ptr<vexservice::CDealDetail> deal;
    bool held;  ///< in a row of reports, for which no fee is asked
};
struct PositionInput {
    std::string accountKey;
    boost::shared_ptr<vexservice::CPositionStatics> position;
};
struct TaskInput {
    boost::shared_ptr<vexservice::CTaskDetail> task;
};
struct PriceInput {
    std::string stockKey;
    boost::shared_ptr<vexservice::CPriceData> price;
};
/// The answer to a question for minute bars.
struct BarsInput {
    std::string stockKey;
    std::string day;
    int finished = 0;
    std::vector<CMinuteBar> bars;
};
/// The answer to a question for the records of a past day.
template <class Record>
struct HistoryInput {
    std::uint64_t question = 0;
    utils::VexError error;
    std::vector<boost::shared_ptr<Record>> records;
};
/// The answer to a command of a guarded balance.
struct ResultInput {
    int balance = 0;
    std::size_t index = 0;
    utils::VexError error;
    int command = 0;
};
/// Work, or a timer, that an earlier step left.
struct WorkInput {
    Ticket ticket;
    std::uint64_t left = 0;  ///< the number that the work waited under; 0: of the ticket itself
};
/// A call of an operation, or a signal of the client ("login", "accountReady", "newTradingDate").
struct CallInput {
    const char* operation;
    std::vector<TapeValue> arguments;
};

using TapeInput =
    std::variant<std::monostate, OrderInput, DealInput, PositionInput, TaskInput, PriceInput,
                 BarsInput, HistoryInput<vexservice::COrderDetail>,
                 HistoryInput<vexservice::CDealDetail>, ResultInput, WorkInput, CallInput>;

template <class... Values>
CallInput callOf(const char* operation, const Values&... values) {
    return {operation, {tapeValue(values)...}};
}

}  // namespace TC

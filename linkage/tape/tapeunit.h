#pragma once

#include "linkage/tape/moment.h"
#include "linkage/tape/tapeinput.h"
#include "platform/records/accountinfo.h"
#include "platform/records/instrumentdetail.h"
#include "platform/records/orderparam.h"
#include "platform/records/ratelimit.h"
#include "platform/records/taskoprecord.h"

#include <boost/container/small_vector.hpp>

#include <memory>
#include <string>
#include <variant>
#include <vector>

/// What a tape keeps of a step.
namespace TC {

/// A service threw.
struct TapeThrown {
    std::string text;
};

/// What a service answered. Nothing: std::monostate.
using TapeAnswer = std::variant<
    std::monostate, bool, std::int64_t, double, std::string, TapeThrown, std::vector<std::string>,
    std::vector<boost::shared_ptr<const vexservice::IData>>,
    boost::shared_ptr<vexservice::CAccountInfo>, std::shared_ptr<vexservice::CInstrumentDetail>,
    boost::shared_ptr<vexservice::CPriceData>, boost::shared_ptr<vexservice::CStkExchangeRateLimit>,
    CTradeSetting, vexservice::CCodeOrderParam>;

/// A question: a name, and what it is asked about.
struct TapeQuestion {
    const char* name;
    std::string about;
};

struct TapeAsk {
    unsigned call;  ///< the step's how manieth call of anything outside
    TapeQuestion question;
    TapeAnswer answer;
};

/// The client called the library back inside the step's `call`-th call.
struct TapeCallBack {
    unsigned call;
    TapeInput input;
};

// What the manager did.

struct SignalMark {
    const char* name;
    std::vector<TapeValue> values;
};
struct CommandMark {
    boost::shared_ptr<vexservice::COrderComandParam> command;
};
struct CancelMark {
    boost::shared_ptr<vexservice::COrderDetail> order;
};
struct OperateMark {
    std::string task;  ///< the server's key, or the number of a task of the client
    bool server;
    boost::shared_ptr<vexservice::CTaskOpRecord> record;
};
/// A check sum of all figures so far.
struct FiguresMark {
    std::uint64_t sum;
};
/// A check sum of the whole state.
struct StateMark {
    std::uint64_t sum;
};
using TapeMark =
    std::variant<SignalMark, CommandMark, CancelMark, OperateMark, FiguresMark, StateMark>;

/// A part of a step that nothing else comes between: from one hold of the manager's lock to the
/// next one, or the whole step.
struct TapeUnit {
    std::uint64_t place = 0;  ///< its rank among all units, from 1 on; 0: not known yet
    std::uint64_t step = 0;
    bool first = true;        ///< has what the step is taken for
    bool last = false;        ///< the step ends with it
    bool held = false;        ///< it holds the manager's lock
    bool leavesWork = false;  ///< work of the step runs later
    Moment moment;
    TapeInput input;
    std::vector<TapeAsk> asks;
    std::vector<TapeCallBack> callBacks;
    boost::container::small_vector<TapeMark, 2> marks;  ///< most steps have as many
};

}  // namespace TC

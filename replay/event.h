#pragma once

#include "linkage/core/linkageoptions.h"
#include "linkage/store/diskfaults.h"
#include "paper/clientdata.h"
#include "paper/faults.h"
#include "paper/requests.h"
#include "platform/records/positionstatics.h"
#include "platform/records/pricedata.h"
#include "platform/records/taskdetail.h"
#include "platform/services/quoteclient.h"
#include "replay/scenarioline.h"

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// What the lines of a scenario say, one struct per kind of line. Defaults that depend
/// on the moment of play (trade date, clock, user name) are left open here.
namespace replay {

struct ConfigEvent {
    std::string now;
    std::string timeZone = "Asia/Shanghai";
    std::optional<std::string> tradeDate;
    paper::ClientConfig client;
    TC::LinkageOptions options;
};

struct InstrumentEvent {
    paper::Instrument instrument;
};

struct AccountEvent {
    paper::Account account;
};

struct TradeSettingEvent {
    int block = 1;
    vexservice::EPriceType priceType = vexservice::PRTP_COMPETE;
    double price = 0.0;
};

struct CreateEvent {};
struct InitEvent {};
struct ReleaseEvent {};

struct OrderEvent {
    std::string account;
    boost::shared_ptr<vexservice::COrderDetail> order;
    bool dated = false;  ///< the line names the trade date
    bool push = true;
};

struct DealEvent {
    std::string account;
    boost::shared_ptr<vexservice::CDealDetail> deal;
    bool dated = false;
    bool timed = false;  ///< the line names the time
    bool push = true;
};

struct TaskEvent {
    boost::shared_ptr<vexservice::CTaskDetail> task;  ///< items have no account info yet
    std::vector<std::string> accounts;                ///< of the items, in their order
    bool named = false;                               ///< the line names the user
    bool dated = false;
    bool push = true;
};

struct PositionEvent {
    std::string account;
    boost::shared_ptr<vexservice::CPositionStatics> position;
    bool push = true;
};

struct PriceEvent {
    std::string stockKey;
    boost::shared_ptr<vexservice::CPriceData> price;
    bool push = true;
};

struct BarsEvent {
    std::string stockKey;
    std::string date;
    std::vector<TC::CMinuteBar> bars;
};

struct ServerHistoryEvent {
    std::string account;
    std::string date;
    paper::ServerDay day;
    std::vector<bool> timed;  ///< for each deal: the line names its time
};

/// The largest number of seconds that one line may name.
inline constexpr double LONGEST_SECONDS = 1e9;

struct AdvanceEvent {
    double seconds = 0.0;
    std::optional<std::string> to;  ///< left out: `seconds` counts
};

struct NewTradingDateEvent {
    std::string date;
    std::string signalDate;
};

struct LoginEvent {
    bool ok = false;
    std::string text;
};

struct AccountReadyEvent {
    std::string account;
};

struct UserDataChangedEvent {};

struct SendEvent {
    paper::OrderRequest order;
};

struct StartTaskEvent {
    paper::TaskRequest task;
};

struct CommandResultEvent {
    int number = 0;
    std::string error;  ///< "": none
};

struct RejectEvent {
    std::string account;
    int times = 1;
};

struct SilentEvent {
    double seconds = 0.0;
};

struct FaultEvent {
    paper::EService service = paper::EService::FeeLimits;
    paper::EFault kind = paper::EFault::None;
    int times = 1;
};

struct DiskEvent {
    TC::disk::Fault fault;
};

struct CrashEvent {};

struct CallEvent {
    std::string op;
    /// Valid until the parser reads the next line, or as long as `json` lives.
    std::optional<simdjson::dom::element> args;
    std::shared_ptr<const simdjson::dom::document> json;  ///< of the arguments alone; may be null
};

struct FileEvent {
    std::string name;
};

struct WriteFileEvent {
    std::string name;
    std::string text;
};

struct DumpEvent {};

using Event =
    std::variant<ConfigEvent, InstrumentEvent, AccountEvent, TradeSettingEvent, CreateEvent,
                 InitEvent, ReleaseEvent, OrderEvent, DealEvent, TaskEvent, PositionEvent,
                 PriceEvent, BarsEvent, ServerHistoryEvent, AdvanceEvent, NewTradingDateEvent,
                 LoginEvent, AccountReadyEvent, UserDataChangedEvent, SendEvent, StartTaskEvent,
                 CommandResultEvent, RejectEvent, SilentEvent, FaultEvent, DiskEvent, CrashEvent,
                 CallEvent, FileEvent, WriteFileEvent, DumpEvent>;

/// How an event is written in the `do` field of its line.
std::string_view eventName(const Event& event);

}  // namespace replay

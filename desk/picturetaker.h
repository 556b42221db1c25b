#pragma once

#include "desk/dayrecords.h"
#include "desk/daywitness.h"
#include "desk/eventlog.h"
#include "desk/picture.h"
#include "desk/pricetape.h"

#include <boost/signals2/connection.hpp>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace TC {
class CLinkageManager;
struct TradeStatData;
}  // namespace TC

namespace desk {

/// Copies out of the library what the screen shows, through public queries alone.
///
/// Threads: one, the engine's.
class CPictureTaker {
public:
    CPictureTaker(CPriceTape& tape, CDayWitness& witness)
        : m_tape(tape), m_witness(witness), m_events(witness) {}

    /// `picture.selection` says what to look at. When it names nothing that exists, it is not
    /// changed, and its tables stay empty. Nothing is filled without a manager.
    void take(Picture& picture);

private:
    void followManager(TC::CLinkageManager& manager, bool recorded);
    void takePairs(TC::CLinkageManager& manager, Picture& picture);
    void takeStocks(TC::CLinkageManager& manager, Picture& picture);
    void takeStocksWithoutFigures(TC::CLinkageManager& manager, Picture& picture);
    void takeStock(TC::CLinkageManager& manager, Picture& picture);
    void takeOrders(Picture& picture);
    void takeDeals(Picture& picture) const;
    void takeTasks(TC::CLinkageManager& manager, Picture& picture);
    void takeRunning(TC::CLinkageManager& manager, Picture& picture);
    void takeAccounts(TC::CLinkageManager& manager, Picture& picture);
    std::vector<PositionRow> positionsOf(const TC::CLinkageManager& manager,
                                         const std::string& account) const;
    std::string seenAt(const std::string& account, std::uint64_t key, const Picture& picture);
    void takeHistory(TC::CLinkageManager& manager, Picture& picture);

    std::set<std::string> historyKeys(const std::map<std::string, TC::TradeStatData>& stats,
                                      const Picture& picture) const;

    CPriceTape& m_tape;
    CDayWitness& m_witness;
    std::string m_strTapeDate;
    std::set<std::string> m_fileKeys;  ///< history keys that the manager began with
    bool m_bClientType3 = false;
    CEventLog m_events;
    /// When each order was seen first whose report nobody heard, by account and record key.
    std::map<std::pair<std::string, std::uint64_t>, std::string> m_seen;
    std::map<std::string, double> m_bound;  ///< FundsRow::bound, by account
    CDayRecords m_records;
    boost::signals2::scoped_connection m_statConnection;
    std::shared_ptr<struct StatFlag> m_pStatChanged;
};

/// Starts the calculation of the curves over the day.
void startCurves(TC::CLinkageManager& manager);

/// The minute of the day of "hhmmss"; empty when the text is no time.
std::optional<int> minuteOf(const std::string& time);

}  // namespace desk

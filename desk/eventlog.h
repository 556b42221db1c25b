#pragma once

#include "desk/daywitness.h"
#include "desk/picture.h"

#include <boost/signals2/connection.hpp>

#include <QObject>

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace TC {
class CLinkageManager;
}

namespace desk {

/// What happened on the day that the user did not do himself: steps of balances, rejected orders,
/// the connection, reports that were missed, faults of services and of the disk, and the end of a
/// recording.
///
/// Threads: the engine's; the signals that it follows come on any.
class CEventLog {
public:
    static constexpr std::size_t KEPT = 300;

    explicit CEventLog(CDayWitness& witness) : m_witness(witness) {}

    /// To be called with each new manager; its client is there by then.
    void follow(TC::CLinkageManager& manager);
    /// Notes a rejected order, the first time that it is told.
    void noteRejected(const CArrivals::Id& order, const std::string& stock,
                      const std::string& remark, const Picture& picture);
    /// Takes in what is new since the last time, and gives the newest events, newest first.
    std::vector<EventRow> take(const Picture& picture);

private:
    struct Inbox {
        std::mutex mutex;
        std::vector<EventRow> events;
    };

    void beginDay(const Picture& picture);
    void add(EventRow event);
    void addFault(EventRow event);
    void takeBalances(const Picture& picture);
    void takeRecording(const Picture& picture);

    CDayWitness& m_witness;

    /// Shared with slots that may still be under way.
    std::shared_ptr<Inbox> m_pInbox = std::make_shared<Inbox>();
    std::unique_ptr<QObject> m_pContext;  ///< ends the connections of Qt
    boost::signals2::scoped_connection m_reconciled;
    std::map<int, std::string> m_states;  ///< of balances, by number
    std::string m_date;
    std::set<CArrivals::Id> m_rejected;
    bool m_bEnded = false;          ///< the recording, which is told
    std::string m_unrecorded;       ///< the file whose end by a fault is told
    std::deque<EventRow> m_events;  ///< newest first
    int m_nNext = 1;
};

}  // namespace desk

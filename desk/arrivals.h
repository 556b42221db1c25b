#pragma once

#include "platform/records/orderdetail.h"
#include "platform/records/positionstatics.h"

#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace desk {

/// What the client reports and the library does not tell: when an order came, and the positions
/// with their cost. A report only waits, with the time at which it came, until it is taken in: so
/// the client is not kept.
///
/// Threads: reports come on any; everything else is called on one, the engine's.
class CArrivals {
public:
    using Id = std::pair<std::string, std::uint64_t>;  ///< account, record key

    CArrivals();
    ~CArrivals();

    /// The client is there: hears its reports from now on. What it has already is in no report.
    void listen();
    /// A position that the client has without a report of it. The client is not asked, because a
    /// recording counts the calls that are to fail.
    void notePosition(const std::string& account,
                      const boost::shared_ptr<vexservice::CPositionStatics>& position);
    /// Ends the subscriptions; to be called before the client is destroyed.
    void letGo() { m_connections.clear(); }

    /// Takes in what was reported since the last call. The orders of another trade date "yyyyMMdd"
    /// than the last one have other times.
    void takeIn(const std::string& date);

    // What was taken in:

    /// Client time "hh:mm:ss" of an order's first report, or of that which rejected it; empty when
    /// no report was heard.
    std::string firstSeen(const Id& order) const { return timeIn(m_seen, order); }
    std::string rejectedAt(const Id& order) const { return timeIn(m_rejected, order); }

    /// The reports of an account's positions, by stock key and record key.
    using Positions =
        std::map<std::string,
                 std::map<unsigned long long, boost::shared_ptr<vexservice::CPositionStatics>>>;
    const Positions& positionsOf(const std::string& account) { return m_positions[account]; }

private:
    using Times = std::map<Id, std::string>;
    struct Inbox;

    static std::string timeIn(const Times& times, const Id& order);
    void noteTimes(const std::string& account, const vexservice::COrderDetail& order,
                   std::int64_t micros);

    std::shared_ptr<Inbox> m_pInbox;  ///< shared with reports that may still be under way
    std::vector<boost::signals2::scoped_connection> m_connections;
    std::string m_date;
    Times m_seen;
    Times m_rejected;
    std::map<std::string, Positions> m_positions;
};

}  // namespace desk

#pragma once

#include "platform/records/positionstatics.h"

#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace desk {

/// What the client reports and the library does not tell: when an order came, and the positions
/// with their cost.
///
/// Threads: reports come on any; everything else is called on one, the engine's.
class CArrivals {
public:
    using Id = std::pair<std::string, std::uint64_t>;  ///< account, record key

    /// The client is there: hears its reports from now on. What it has already is in no report.
    void listen();
    /// A position that the client has without a report of it. The client is not asked, because a
    /// recording counts the calls that are to fail.
    void notePosition(const std::string& account,
                      const boost::shared_ptr<vexservice::CPositionStatics>& position);
    /// Another day: its orders have other times.
    void forgetOrders();
    /// Ends the subscriptions; to be called before the client is destroyed.
    void letGo() { m_connections.clear(); }

    /// Client time "hh:mm:ss" of an order's first report, or of that which rejected it; empty when
    /// no report was heard.
    std::string firstSeen(const Id& order) const;
    std::string rejectedAt(const Id& order) const;

    /// The reports of an account's positions, by stock key and record key.
    using Positions =
        std::map<std::string,
                 std::map<unsigned long long, boost::shared_ptr<vexservice::CPositionStatics>>>;
    Positions positionsOf(const std::string& account) const;

private:
    struct Inbox {
        mutable std::mutex mutex;
        std::map<Id, std::string> seen;
        std::map<Id, std::string> rejected;
        std::map<std::string, Positions> positions;

        void addOrder(const std::string& account,
                      const boost::shared_ptr<vexservice::IData>& record);
        void addPosition(const std::string& account,
                         const boost::shared_ptr<vexservice::IData>& record);
    };
    std::string timeIn(const std::map<Id, std::string>& times, const Id& order) const;

    /// Shared with reports that may still be under way.
    std::shared_ptr<Inbox> m_pInbox = std::make_shared<Inbox>();
    std::vector<boost::signals2::scoped_connection> m_connections;
};

}  // namespace desk

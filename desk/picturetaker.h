#pragma once

#include "desk/picture.h"
#include "platform/services/quoteclient.h"

#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace TC {
class CLinkageManager;
}
namespace vexservice {
struct COrderDetail;
}

namespace desk {

/// The course of each stock over the day, one price a minute, noted as prices come in.
///
/// Threads: follow() and of() on the engine's thread; prices come on the quote client's.
class CPriceTape {
public:
    void follow(const std::string& stockKey);
    std::map<int, double> of(const std::string& stockKey) const;
    /// Forgets everything, and with the quote client's subscriptions.
    void clear();

private:
    struct Notes {
        std::mutex mutex;
        std::map<std::string, std::map<int, double>> prices;
    };
    std::shared_ptr<Notes> m_pNotes = std::make_shared<Notes>();
    std::map<std::string, boost::shared_ptr<TC::CQuoteRequest>> m_requests;
};

/// Copies out of the library what the screen shows, through public queries alone.
///
/// Threads: one, the engine's.
class CPictureTaker {
public:
    /// `picture.selection` says what to look at; where it names nothing that exists, it
    /// is left and its tables stay empty. Nothing is filled without a manager.
    void take(Picture& picture);

    /// Lets go of everything that belongs to the client, before it goes.
    void letGo();

private:
    void followManager(TC::CLinkageManager& manager);
    void takePairs(TC::CLinkageManager& manager, Picture& picture);
    void takeStocks(TC::CLinkageManager& manager, Picture& picture);
    void takeStock(TC::CLinkageManager& manager, Picture& picture);
    void takeOrders(TC::CLinkageManager& manager, Picture& picture);
    void takeDeals(TC::CLinkageManager& manager, Picture& picture);
    void takeTasks(TC::CLinkageManager& manager, Picture& picture);
    void takeHistory(TC::CLinkageManager& manager, Picture& picture);

    CPriceTape m_tape;
    std::string m_strTapeDate;
    bool m_bClientType3 = false;
    boost::signals2::scoped_connection m_statConnection;
    std::shared_ptr<struct StatFlag> m_pStatChanged;
};

/// Client time as "hh:mm:ss" and the minute of the day, by the platform's clock.
std::string clockText();
int clockMinute();

/// The minute of the day of "hhmmss"; 0 when the text is none.
int minuteOf(const std::string& time);

}  // namespace desk

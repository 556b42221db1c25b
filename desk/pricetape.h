#pragma once

#include "platform/services/quoteclient.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace paper {
class CPaperClient;
}

namespace desk {

/// The price curve of each stock over the day, one price per minute, noted as prices come in.
///
/// Threads: one thread for all operations; prices come on the quote client's threads.
class CPriceTape {
public:
    /// Notes the prices of a stock from now on; a second call does nothing.
    void follow(const std::string& stockKey);
    std::map<int, double> of(const std::string& stockKey) const;

    /// Gives the minutes that have ended since the last time to the client's history
    /// service as bars, so that a recording without bars has them, too.
    void giveBars(paper::CPaperClient& client);
    /// Gives no bars of this stock up to `minute`, because the client has its own.
    void leaveBars(const std::string& stockKey, int minute) { m_ownBars[stockKey] = minute; }

    /// Forgets the prices of the day.
    void forget();
    /// Ends the subscriptions; to be called before the client is destroyed.
    void letGo() { m_requests.clear(); }

private:
    struct Notes {
        std::mutex mutex;
        std::map<std::string, std::map<int, double>> prices;
    };
    /// Shared with callbacks that may still be under way.
    std::shared_ptr<Notes> m_pNotes = std::make_shared<Notes>();
    std::map<std::string, boost::shared_ptr<TC::CQuoteRequest>> m_requests;
    std::map<std::string, int> m_ownBars;
    int m_nGivenUntil = 0;
};

/// Client time as "hh:mm:ss" and the minute of the day, by the platform's clock; or of a moment
/// of it.
std::string clockText();
std::string clockText(std::int64_t micros);
int clockMinute();

}  // namespace desk

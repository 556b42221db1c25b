#pragma once

#include "paper/paperclient.h"
#include "platform/utils/deadlinetimer.h"

#include <utility>

#include <boost/asio/io_service.hpp>

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace desk {

/// A small market that never closes: a few stocks whose prices wander, and strategies
/// of three accounts that trade in them on the paper exchange.
///
/// Threads: construct and destroy on the owner's thread; it works on the loop's. The
/// client must outlive it, and the loop must stand still or be gone when it goes.
class CWanderingMarket {
public:
    CWanderingMarket(boost::asio::io_service& service, paper::CPaperClient& client);

    /// Starts trading; call it when the library is connected.
    void open();

    std::vector<std::string> stockKeys() const;

private:
    struct Stock {
        std::string market;
        std::string code;
        std::string name;
        int price = 0;  ///< in ticks of 0.01
        int reference = 0;
    };

    void reportPositions();
    void arm();
    void tick();
    void move(Stock& stock);
    void quote(const Stock& stock);
    void trade();
    int upTo(int most) { return static_cast<int>(m_random() % static_cast<unsigned>(most + 1)); }

    paper::CPaperClient& m_client;
    utils::DeadlineTimer m_timer;
    std::mt19937 m_random{20240105};
    std::vector<Stock> m_stocks;
    int m_nTicks = 0;
};

}  // namespace desk

#pragma once

#include "platform/records/enums.h"
#include "platform/services/accountdata.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

/// What the paper exchange is asked for.
namespace paper {

/// An order as it comes to the exchange.
struct OrderRequest {
    std::string account;
    std::string market;
    std::string code;
    bool buys = true;
    std::int64_t volume = 0;
    vexservice::EPriceType priceType = vexservice::PRTP_FIX;
    double price = 0.0;  ///< yuan
    std::string strategy = {};
    std::string strategy2 = {};
    std::string tag = {};
    int command = 0;         ///< the number of its command; 0: none
    std::uint64_t task = 0;  ///< the task that it is a slice of; 0: none
};

/// An algorithmic task: `volume` in `slices` equal parts over `seconds`.
struct TaskRequest {
    std::string account;
    std::string market;
    std::string code;
    bool buys = true;
    int volume = 0;
    int slices = 1;
    double seconds = 0.0;
    std::string strategy = {};
    bool server = true;  ///< the server's task, else a local one
    // The exchange fills in the rest.
    boost::shared_ptr<vexservice::CAccountInfo> info = {};
    std::string user = {};
    std::string tradeDate = {};
};

}  // namespace paper

#pragma once

#include "platform/records/enums.h"
#include "platform/services/accountdata.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

/// @file
/// What the paper exchange is asked for.
namespace paper {

/// An order as it comes to the exchange.
struct OrderRequest {
    std::string account;      ///< account key
    std::string market;       ///< "SH" or "SZ"
    std::string code;         ///< the stock's code in its market ("600000")
    bool buys = true;         ///< else it sells
    std::int64_t volume = 0;  ///< shares
    /// Orders of any other type than a market type need a price.
    vexservice::EPriceType priceType = vexservice::PRTP_FIX;
    double price = 0.0;          ///< yuan
    std::string strategy = {};   ///< primary strategy name of its carrier
    std::string strategy2 = {};  ///< secondary strategy name of its carrier
    std::string tag = {};        ///< tag of its carrier; "历史配平" for balances of history
    int command = 0;             ///< the number of its command; 0: none
    std::uint64_t task = 0;      ///< the task that it is a slice of; 0: none
};

/// An algorithmic task: `volume` in `slices` equal parts over `seconds`.
struct TaskRequest {
    std::string account;        ///< account key
    std::string market;         ///< "SH" or "SZ"
    std::string code;           ///< the stock's code in its market ("600000")
    bool buys = true;           ///< else it sells
    int volume = 0;             ///< shares
    int slices = 1;             ///< parts, at least 1
    double seconds = 0.0;       ///< all parts, at equal distances; the first at once
    std::string strategy = {};  ///< primary strategy name of its carrier
    bool server = true;         ///< the server's task, else a local one
    // The exchange fills in the rest.
    boost::shared_ptr<vexservice::CAccountInfo> info = {};  ///< the account's info
    std::string user = {};                                  ///< who started it
    std::string tradeDate = {};                             ///< "yyyyMMdd"
};

}  // namespace paper

#pragma once

#include "platform/records/accountinfo.h"
#include "platform/records/commandrecord.h"
#include "platform/records/enums.h"

#include <vector>

namespace vexservice {

/// What an algorithmic task trades of one stock.
struct CTaskItem {
    std::string m_strMarket;  ///< "SH" or "SZ"
    std::string m_strCode;    ///< the stock's code in its market ("600000")
    /// Who trades; a task belongs to the account of its first item.
    boost::shared_ptr<CAccountInfo> m_pAccountInfo;
    int m_nVolume = 0;        ///< wanted, in shares
    int m_nTradedVolume = 0;  ///< traded so far, in shares
};

/// One report of an algorithmic task, possibly over several stocks.
struct LINKAGE_PLATFORM_EXPORT CTaskDetail : INumberedData {
    ETaskStatus m_eStatus = TASK_RUNNING;  ///< as of this report
    bool m_bServerTask = true;             ///< runs on the trading server, else in the client
    std::vector<boost::shared_ptr<CTaskItem>> m_items;  ///< the stocks, one item each
    boost::shared_ptr<CCommandRecord> m_pCommand;       ///< may be empty
};

/// Rules of tasks.
struct LINKAGE_PLATFORM_EXPORT CTaskHelper {
    /// The key by which the server knows a task; "" for none.
    static std::string genServerTaskKey(const boost::shared_ptr<CTaskDetail>& task);
};

}  // namespace vexservice

#pragma once

#include "paper/datacenter.h"

#include <utility>

#include <boost/asio/io_service.hpp>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace paper {

/// Reports on their way to the data center. They are published on the loop one at a time, in the
/// order in which they were added. A subscriber may cause further reports; these come after the
/// reports that were already waiting.
class COutbox : public std::enable_shared_from_this<COutbox> {
public:
    COutbox(boost::asio::io_service& service, std::shared_ptr<CDataCenter> dataCenter)
        : m_service(service), m_pDataCenter(std::move(dataCenter)) {}

    void add(const std::string& accountKey, int type, adapters::CAccountRecords::Record record);
    /// Runs `work` in turn: after what was added before is published, and before what is added
    /// later.
    void add(std::function<void()> work);

private:
    struct Report {
        std::string account;
        int type;
        adapters::CAccountRecords::Record record;
        std::function<void()> work;  ///< instead of a record
    };

    void add(Report report);
    void post();
    void deliver();

    boost::asio::io_service& m_service;
    const std::shared_ptr<CDataCenter> m_pDataCenter;
    std::mutex m_mutex;
    bool m_bPosted = false;
    std::vector<Report> m_waiting;
};

}  // namespace paper

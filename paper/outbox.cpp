#include "paper/outbox.h"

#include <boost/asio/post.hpp>

namespace paper {

void COutbox::add(const std::string& accountKey, int type,
                  adapters::CAccountRecords::Record record) {
    add(Report{accountKey, type, std::move(record), {}});
}

void COutbox::add(std::function<void()> work) { add(Report{{}, 0, {}, std::move(work)}); }

void COutbox::add(Report report) {
    const std::lock_guard lock(m_mutex);
    m_waiting.push_back(std::move(report));
    if (!m_bPosted) post();
}

void COutbox::post() {
    m_bPosted = true;
    boost::asio::post(m_service, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->deliver();
    });
}

void COutbox::deliver() {
    std::vector<Report> reports;
    {
        const std::lock_guard lock(m_mutex);
        reports.swap(m_waiting);
    }
    for (const Report& report : reports) {
        if (report.work) {
            report.work();
            continue;
        }
        m_pDataCenter->report(report.account, report.type, report.record, true);
    }
    const std::lock_guard lock(m_mutex);
    m_bPosted = false;
    if (!m_waiting.empty()) post();
}

}  // namespace paper

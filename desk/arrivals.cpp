#include "desk/arrivals.h"

#include "desk/pricetape.h"
#include "platform/services/tradercenter.h"
#include "platform/utils/clock.h"
#include "platform/utils/keys.h"

#include <mutex>

namespace desk {

struct CArrivals::Inbox {
    struct Report {
        std::string account;
        boost::shared_ptr<vexservice::IData> record;
        std::int64_t micros = 0;  ///< client time
    };
    std::mutex mutex;
    std::vector<Report> reports;
};

CArrivals::CArrivals() : m_pInbox(std::make_shared<Inbox>()) {}
CArrivals::~CArrivals() = default;

void CArrivals::listen() {
    const auto note = [inbox = m_pInbox](const std::string& account,
                                         const boost::shared_ptr<vexservice::IData>& record) {
        const std::int64_t now = utils::currentClock().nowMicros();
        const std::lock_guard lock(inbox->mutex);
        inbox->reports.push_back({account, record, now});
    };
    m_connections.clear();
    auto* center = vexservice::TraderCenter::instance()->getDataCenter();
    for (const int type : {vexservice::DATA_ORDER, vexservice::DATA_POSITION})
        m_connections.emplace_back(center->subscribe("", type, "", note));
}

void CArrivals::notePosition(const std::string& account,
                             const boost::shared_ptr<vexservice::CPositionStatics>& position) {
    const std::string stock = utils::zorStockKey(position->m_strMarket, position->m_strCode);
    m_positions[account][stock][position->recordKey()] = position;
}

void CArrivals::noteTimes(const std::string& account, const vexservice::COrderDetail& order,
                          std::int64_t micros) {
    const Id id(account, order.recordKey());
    const auto note = [&](Times& times) {
        const auto [at, isNew] = times.try_emplace(id);
        if (isNew) at->second = clockText(micros);
    };
    note(m_seen);
    if (order.m_eStatus == vexservice::STATUS_JUNK) note(m_rejected);
}

void CArrivals::takeIn(const std::string& date) {
    std::vector<Inbox::Report> reports;
    {
        const std::lock_guard lock(m_pInbox->mutex);
        reports.swap(m_pInbox->reports);
    }
    if (std::exchange(m_date, date) != date) {
        m_seen.clear();
        m_rejected.clear();
    }
    for (const auto& [account, record, micros] : reports) {
        const auto order = boost::dynamic_pointer_cast<vexservice::COrderDetail>(record);
        if (order && order->m_strTradeDate == date) noteTimes(account, *order, micros);
        if (const auto position = boost::dynamic_pointer_cast<vexservice::CPositionStatics>(record))
            notePosition(account, position);
    }
}

std::string CArrivals::timeIn(const Times& times, const Id& order) {
    const auto at = times.find(order);
    return at == times.end() ? std::string() : at->second;
}

}  // namespace desk

#include "desk/arrivals.h"

#include "desk/pricetape.h"
#include "platform/records/orderdetail.h"
#include "platform/services/tradercenter.h"
#include "platform/utils/keys.h"

namespace desk {

namespace {

vexservice::IDataCenter& dataCenter() {
    return *vexservice::TraderCenter::instance()->getDataCenter();
}

}  // namespace

void CArrivals::Inbox::addOrder(const std::string& account,
                                const boost::shared_ptr<vexservice::IData>& record) {
    const auto order = boost::dynamic_pointer_cast<vexservice::COrderDetail>(record);
    if (!order) return;
    const Id id(account, order->recordKey());
    const bool rejectsIt = order->m_eStatus == vexservice::STATUS_JUNK;
    const std::lock_guard lock(mutex);
    if (!seen.count(id)) seen[id] = clockText();
    if (rejectsIt && !rejected.count(id)) rejected[id] = clockText();
}

void CArrivals::Inbox::addPosition(const std::string& account,
                                   const boost::shared_ptr<vexservice::IData>& record) {
    const auto position = boost::dynamic_pointer_cast<vexservice::CPositionStatics>(record);
    if (!position) return;
    const std::string stock = utils::zorStockKey(position->m_strMarket, position->m_strCode);
    const std::lock_guard lock(mutex);
    positions[account][stock][position->recordKey()] = position;
}

void CArrivals::listen() {
    const auto follow = [this](int type, auto add) {
        m_connections.emplace_back(dataCenter().subscribe(
            "", type, "",
            [inbox = m_pInbox, add](const std::string& account,
                                    const boost::shared_ptr<vexservice::IData>& record) {
                (inbox.get()->*add)(account, record);
            }));
    };
    m_connections.clear();
    follow(vexservice::DATA_ORDER, &Inbox::addOrder);
    follow(vexservice::DATA_POSITION, &Inbox::addPosition);
}

void CArrivals::notePosition(const std::string& account,
                             const boost::shared_ptr<vexservice::CPositionStatics>& position) {
    m_pInbox->addPosition(account, position);
}

void CArrivals::forgetOrders() {
    const std::lock_guard lock(m_pInbox->mutex);
    m_pInbox->seen.clear();
    m_pInbox->rejected.clear();
}

std::string CArrivals::timeIn(const std::map<Id, std::string>& times, const Id& order) const {
    const std::lock_guard lock(m_pInbox->mutex);
    const auto at = times.find(order);
    return at == times.end() ? std::string() : at->second;
}

std::string CArrivals::firstSeen(const Id& order) const { return timeIn(m_pInbox->seen, order); }

std::string CArrivals::rejectedAt(const Id& order) const {
    return timeIn(m_pInbox->rejected, order);
}

CArrivals::Positions CArrivals::positionsOf(const std::string& account) const {
    const std::lock_guard lock(m_pInbox->mutex);
    const auto at = m_pInbox->positions.find(account);
    return at == m_pInbox->positions.end() ? Positions() : at->second;
}

}  // namespace desk

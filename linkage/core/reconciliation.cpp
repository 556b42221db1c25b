#include "linkage/core/reconciling.h"

#include "platform/utils/keys.h"

namespace TC {

namespace {

bool sameReport(const vexservice::COrderDetail& left, const vexservice::COrderDetail& right) {
    return left.m_eStatus == right.m_eStatus && left.m_nVolume == right.m_nVolume &&
           left.m_nTradedVolume == right.m_nTradedVolume && left.m_dPrice == right.m_dPrice &&
           left.m_dTradedAmount == right.m_dTradedAmount &&
           left.m_eDirection == right.m_eDirection && left.m_strSysID == right.m_strSysID;
}

template <class Record, class Same>
RecordChanges compare(const ByRecord<Record>& before, const ByRecord<Record>& now,
                      const WaitingReports& waiting, Same same) {
    RecordChanges changes;
    for (const auto& [key, record] : now) {
        if (waiting.count(record) > 0) continue;
        const auto known = before.find(key);
        if (known == before.end() || known->second->m_bImported) {
            ++changes.added;
        } else if (known->second != record && !same(*known->second, *record)) {
            ++changes.changed;
        }
    }
    for (const auto& [key, record] : before) {
        if (!record->m_bImported && now.count(key) == 0) ++changes.gone;
    }
    return changes;
}

std::int64_t volumeOf(const VolumeByStock& volumes, const std::string& stock) {
    const auto at = volumes.find(stock);
    return at == volumes.end() ? 0 : at->second;
}

}  // namespace

const char* textOf(ELoadCause cause) {
    switch (cause) {
        case ELoadCause::Login:
            return "login";
        case ELoadCause::AccountReady:
            return "accountReady";
        case ELoadCause::Rollover:
            return "rollover";
        default:
            return "request";
    }
}

RecordChanges compareOrders(const ByRecord<OrderPtr>& before, const ByRecord<OrderPtr>& now,
                            const WaitingReports& waiting) {
    return compare(before, now, waiting, sameReport);
}

RecordChanges compareDeals(const ByRecord<DealPtr>& before, const ByRecord<DealPtr>& now,
                           const WaitingReports& waiting) {
    return compare(before, now, waiting, [](const auto&, const auto&) { return true; });
}

VolumeByStock netOf(const ByRecord<DealPtr>& deals) {
    VolumeByStock net;
    for (const auto& [key, deal] : deals) {
        const bool buys = vexservice::isBuyByDirection(deal->m_eDirection, deal->m_eOffsetFlag);
        const std::int64_t volume = deal->m_nVolume;
        net[utils::zorStockKey(deal->m_strMarket, deal->m_strCode)] += buys ? volume : -volume;
    }
    return net;
}

std::map<std::string, std::pair<std::int64_t, std::int64_t>> comparePositions(
    const VolumeByStock& opening, const VolumeByStock& net, const VolumeByStock& reported) {
    std::set<std::string> stocks;
    for (const VolumeByStock* each : {&opening, &net, &reported}) {
        for (const auto& [stock, volume] : *each) stocks.insert(stock);
    }
    std::map<std::string, std::pair<std::int64_t, std::int64_t>> differing;
    for (const std::string& stock : stocks) {
        const std::int64_t expected = volumeOf(opening, stock) + volumeOf(net, stock);
        const std::int64_t found = volumeOf(reported, stock);
        if (expected != found) differing[stock] = {expected, found};
    }
    return differing;
}

std::map<std::string, std::pair<std::int64_t, std::int64_t>> CReconciliations::checkPositions(
    const std::string& account, const std::string& tradeDate, const VolumeByStock& net,
    const VolumeByStock& reported) {
    const auto known = m_openings.find(account);
    if (known != m_openings.end() && known->second.tradeDate == tradeDate) {
        return comparePositions(known->second.volumes, net, reported);
    }
    if (reported.empty()) return {};
    Opening opening{tradeDate, reported};
    // The first positions may have the day's earlier deals in them already.
    for (const auto& [stock, volume] : net) opening.volumes[stock] -= volume;
    m_openings[account] = std::move(opening);
    return {};
}

void CReconciliations::add(const Reconciliation& found) {
    m_all.push_back(found);
    if (m_all.size() > KEPT) m_all.pop_front();
}

}  // namespace TC

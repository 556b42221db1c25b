#include "bench/ownlimit.h"

#include <boost/make_shared.hpp>

namespace bench {

CTextIds::CTextIds(const Workload& world) : m_strategies(world.strategies) {
    const auto add = [](utils::CKeyIndex& index, std::uint64_t hash, std::size_t at) {
        index.add(hash, static_cast<std::uint32_t>(at));
    };
    for (const paper::Account& account : world.accounts) {
        add(m_accountIndex, utils::textHash(account.key), m_accounts.size());
        m_accounts.push_back(account.key);
    }
    for (std::size_t at = 0; at < m_strategies.size(); ++at) {
        add(m_strategyIndex, utils::textHash(m_strategies[at]), at);
    }
    for (const paper::Instrument& stock : world.stocks) {
        add(m_stockIndex, hashOf(stock.market, stock.code), m_listings.size());
        m_listings.emplace_back(stock.market, stock.code);
    }
}

CClientPrices::CClientPrices(const Workload& world) : m_quotes(m_service) {
    m_keys.reserve(world.stockKeys.size());
    for (std::size_t stock = 0; stock < world.stockKeys.size(); ++stock) {
        const auto price = boost::make_shared<vexservice::CPriceData>();
        price->m_dLastPrice = world.prices[stock];
        m_quotes.setPrice(world.stockKeys[stock], price);
        m_keys.push_back(QString::fromStdString(world.stockKeys[stock]));
    }
}

template <>
TC::ManagerState COwnLimitProgram<Parts{}>::state() const {
    const auto reportOf = [&](const auto& record) {
        return Report{m_ids.of(record->m_pAccountInfo->m_strKey, *record), {}, {}};
    };
    return m_flat.state(
        m_workload,
        [&](const ByRecord::Order& order) {
            Report report = reportOf(order);
            report.order = order;
            return report;
        },
        [&](const ByRecord::Deal& deal) {
            Report report = reportOf(deal);
            report.deal = deal;
            return report;
        });
}

}  // namespace bench

#include "desk/market.h"
#include "desk/picturetaker.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/ledger/types.h"
#include "linkage/stats/positionmerge.h"

/// What an account has: its positions, and what its orders and deals of the day say of its money.
namespace desk {

namespace {

/// The parts of a position as the library merges them.
TC::PositionPtr merged(
    const std::map<unsigned long long, boost::shared_ptr<vexservice::CPositionStatics>>& reports) {
    TC::PositionParts parts;
    parts.key = reports.begin()->first;
    parts.reports = {reports.begin(), reports.end()};
    return TC::mergePosition(parts);
}

}  // namespace

std::vector<PositionRow> CPictureTaker::positionsOf(const TC::CLinkageManager& manager,
                                                    const std::string& account) const {
    const auto traded = manager.getTradeStatDatas(account, "");
    std::vector<PositionRow> rows;
    for (const auto& [stock, reports] : m_witness.arrivals.positionsOf(account)) {
        const TC::PositionPtr position = merged(reports);
        if (!position) continue;
        PositionRow row{.stock = stock};
        row.volume = position->m_nVolume;
        row.sellable = position->m_nAvailable;
        row.cost = position->m_dCost;
        const auto price = priceOf(stock);
        if (price && price->hasLastPrice()) row.lastPrice = price->m_dLastPrice;
        if (const auto detail = detailOf(stock)) row.name = detail->m_strName;
        if (const auto record = traded.find(stock); record != traded.end()) {
            const TC::EffectiveFigures figures =
                TC::effectiveFigures(*record->second, m_bClientType3);
            row.netBought = std::int64_t(figures.buyVolume) - figures.sellVolume;
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

void CPictureTaker::takeAccounts(TC::CLinkageManager& manager, Picture& picture) {
    for (const auto& account : manager.getAccounts()) {
        FundsRow funds{.account = account->m_strKey, .name = account->m_strName};
        std::vector<PositionRow> positions = positionsOf(manager, funds.account);
        for (const PositionRow& row : positions) {
            if (row.lastPrice <= 0.0) continue;
            funds.marketValue += row.volume * row.lastPrice;
            funds.positionProfit += row.volume * (row.lastPrice - row.cost);
        }
        for (const auto& [stock, record] : manager.getTradeStatDatas(funds.account, "")) {
            const TC::EffectiveFigures figures = TC::effectiveFigures(*record, m_bClientType3);
            funds.boughtAmount += figures.buyAmount;
            funds.soldAmount += figures.sellAmount;
            funds.commission += record->deals().m_dCommission;
            funds.dayProfit += record->worth().m_dProfit;
        }
        funds.bound = m_bound[funds.account];
        if (funds.account == picture.selection.account) picture.positions = std::move(positions);
        picture.funds.push_back(std::move(funds));
    }
}

}  // namespace desk

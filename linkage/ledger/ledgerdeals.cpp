#include "common/prefetch.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/orderrule.h"
#include "linkage/tape/moment.h"

#include <algorithm>
#include <tuple>

namespace TC {

using namespace ledger;

DealReport CLedger::resolve(const std::string& accountKey, const DealPtr& deal) {
    std::uint32_t account = m_accounts.recall(accountKey);
    if (account != NONE) m_accounts[account].deals.prefetch(utils::mixHash(deal->recordKey()));
    const Listing& listed = listing(deal->m_strMarket, deal->m_strCode);
    if (listed.excluded) return {.accountKey = accountKey, .deal = deal, .followed = false};
    if (account == NONE) account = accountId(accountKey);
    const DealReport report{.accountKey = accountKey,
                            .deal = deal,
                            .account = account,
                            .stock = listed.stock,
                            .strategy = strategyId(strategyOf(deal->m_pCommand.get())),
                            .listing = &listed,
                            .holding = &holding(account, listed.stock),
                            .followed = true};
    prefetchDeal(report);
    return report;
}

bool CLedger::knowsFee(const DealReport& report) {
    return report.holding->feeRevision == referenceRevision();
}

void CLedger::setFee(const DealReport& report, const FeePtr& fee, std::uint64_t revision) {
    Holding& held = *report.holding;
    held.fee = fee;
    held.feeRevision = revision;
}

DealtStock CLedger::dealtStock(const DealReport& report) {
    Stock& stock = m_stocks[report.stock];
    return {stock.key, stock.quoteKey, stock.requestEpoch, report.holding->markerEpoch};
}

DealChange CLedger::apply(const DealReport& report) {
    const vexservice::CDealDetail& deal = *report.deal;
    DealChange change;
    const DayOrder dropped = m_accounts[report.account].droppedThrough;
    change.tooOld = dropped != 0 && orderOf(day(deal.m_strTradeDate)) <= dropped;
    if (change.tooOld) return change;
    DealStep step;
    step.account = report.account;
    step.listing = report.listing;
    step.holding = report.holding;
    step.stock = report.stock;
    step.strategy = report.strategy;
    const bool wasDropped = fileDeal(step, report.deal, change);
    change.strategyIsNew = listStrategy(step.strategy);
    widenDealAmplitude(step);

    change.ofHistory = step.strategy != WHOLE_ACCOUNT_ID && isHistoryBalance(deal.m_pCommand.get());
    change.counted = !change.ofHistory && (change.recordIsNew || wasDropped);
    if (!change.recordIsNew && !change.counted) return change;
    if (change.counted) enterFigures(step);
    step.buys = change.buys = vexservice::isBuyByDirection(deal.m_eDirection, deal.m_eOffsetFlag);
    step.commission = change.commission =
        vexservice::COrderDetailHelper::calcDealCommission(step.holding->fee, report.deal);
    if (change.recordIsNew) countDay(step);
    if (change.counted) {
        countMinute(step);
        countDeal(step);
    }
    return change;
}

void CLedger::chainDeal(Account& account, std::uint32_t at) {
    DealEntry& entry = m_deals[at];
    const std::uint64_t hash = utils::mixHash(entry.key);
    const std::uint32_t head = account.deals.find(
        hash, [&](std::uint32_t index) { return m_deals[index].key == entry.key; });
    if (head == NONE) {
        account.deals.add(hash, at);
    } else {
        entry.nextOfKey = m_deals[head].nextOfKey;
        m_deals[head].nextOfKey = at;
    }
}

std::pair<std::uint32_t, bool> CLedger::putDeal(std::uint32_t accountAt, std::uint32_t cellAt,
                                                const DealPtr& deal) {
    Account& account = m_accounts[accountAt];
    const std::uint64_t key = deal->recordKey();
    for (std::uint32_t at = account.deals.find(
             utils::mixHash(key), [&](std::uint32_t index) { return m_deals[index].key == key; });
         at != NONE; at = m_deals[at].nextOfKey) {
        if (m_deals[at].cell != cellAt) continue;
        if (m_deals[at].told) {
            noteMovedDeal(accountAt, m_deals[at].report, deal);
            noteDeal(at);
        }
        m_deals[at].report = deal;
        m_dealCopies.touch(at);
        return {at, false};
    }
    Cell& cell = m_cells[cellAt];
    if (!cell.hasDeals) {
        cell.hasDeals = true;
        m_days[cell.day].deals.insert(cell.stock);
    }
    const std::uint32_t made = m_deals.make();
    m_deals[made] = {.key = key, .report = deal, .cell = cellAt, .nextInCell = cell.firstDeal};
    cell.firstDeal = made;
    chainDeal(account, made);
    m_dealCopies.touch(made);
    return {made, true};
}

bool CLedger::fileDeal(DealStep& step, const DealPtr& deal, DealChange& change) {
    step.deal = deal.get();
    step.cell = cellOf(*step.holding, step.account, step.stock, day(deal->m_strTradeDate));
    step.figures = findFigures(step);
    if (!m_cells[step.cell].hasDeals) {
        change.stockIsNew = m_days[m_cells[step.cell].day].deals.count(step.stock) == 0;
    }
    std::tie(step.entry, change.recordIsNew) = putDeal(step.account, step.cell, deal);
    m_deals[step.entry].told = true;
    noteDeal(step.entry);
    return m_deals[step.entry].dropped;
}

void CLedger::widenDealAmplitude(const DealStep& step) {
    const Listing& listed = *step.listing;
    if (!listed.hasDetail) return;
    const std::optional<double> distance = amplitude(step.deal->m_dPrice, listed.reference);
    if (!distance) return;
    Holding& held = *step.holding;
    if (!held.hasDealAmplitude) {
        held.hasDealAmplitude = true;
        m_stocks[step.stock].hasDealAmplitudes = true;
    }
    held.dealAmplitude = std::max(held.dealAmplitude, *distance);
}

void CLedger::enterFigures(DealStep& step) {
    m_deals[step.entry].counted = true;
    m_deals[step.entry].dropped = false;
    if (!step.figures) {
        step.figures = figuresIn(pairOf(step.account, step.strategy), step.stock);
    }
}

void CLedger::countDay(const DealStep& step) {
    Cell& cell = m_cells[step.cell];
    if (!cell.hasTotals) {
        cell.hasTotals = true;
        m_days[cell.day].totals.insert(cell.stock);
    }
    cell.totals.add(*step.deal, step.buys);
}

void CLedger::countMinute(const DealStep& step) {
    const int minute = dealMinute(timeNumber(step.deal->m_strTradeTime));
    Figures& figures = *step.figures;
    if (minute < 0) return;
    m_stocks[step.stock].hasPeriods = true;

    std::uint32_t* link = &figures.minutes;
    const bool isNewest = minute > figures.newestMinute;
    if (isNewest) {
        figures.newestMinute = minute;
    } else {
        while (*link != NONE && m_minutes[*link].minute > minute) link = &m_minutes[*link].older;
    }
    if (isNewest || *link == NONE || m_minutes[*link].minute != minute) {
        const std::uint32_t made = m_minutes.make();
        m_minutes[made].minute = minute;
        m_minutes[made].older = *link;
        *link = made;
    }
    LinkagePeriodTradeData& deals = m_minutes[*link].deals;
    (step.buys ? deals.m_nBuyVolume : deals.m_nSellVolume) += step.deal->m_nVolume;
    (step.buys ? deals.m_dBuyAmount : deals.m_dSellAmount) += step.deal->m_dAmount;
    deals.m_dCommission += step.commission;
}

void CLedger::countDeal(const DealStep& step) {
    const auto add = [&](Figures& figures) {
        DealFigures& deals = figures.record.deals();
        auto& volume = step.buys ? deals.m_nBuyVolume : deals.m_nSellVolume;
        volume = wrapAdd(volume, step.deal->m_nVolume);
        (step.buys ? deals.m_dBuyAmount : deals.m_dSellAmount) += step.deal->m_dAmount;
        deals.m_dCommission += step.commission;
        m_figureCopies.touch(&figures);
    };
    add(*step.figures);
    if (step.figures->wide) add(*step.figures->wide);
}

}  // namespace TC

#include "linkage/ledger/attribution.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "platform/utils/keys.h"

#include <algorithm>
#include <utility>

namespace TC {

using namespace ledger;

namespace {

using EKind = CChangeJournal::EKind;

/// What is told of everything, in this order, before changes are told again.
enum EPhase : std::uint8_t { CHANGES, PAIRS, STOCKS, ORDERS, DEALS, TASKS };

template <class Item>
void sortOnce(std::vector<Item>& items) {
    std::sort(items.begin(), items.end());
    items.erase(std::unique(items.begin(), items.end()), items.end());
}

}  // namespace

/// Gathers one answer. Figures and pairs are not noted when a report changes them: they follow
/// from the orders and deals, which are. A pair is noted when one of these leaves it.
class CLedger::CChangeReader {
public:
    CChangeReader(const CLedger& ledger, LedgerChanges& out, std::size_t most)
        : m_ledger(ledger), m_out(out), m_nMost(most) {}

    /// Reads on from the cursor until all is told, or enough. Changes begin with an answer of their
    /// own, so that nothing is twice in one.
    void read(ChangeCursor& cursor) {
        if (cursor.phase == CHANGES) {
            while (cursor.next != m_ledger.m_journal.end() && !isFull()) takeEntry(cursor.next++);
        } else {
            while (cursor.phase != CHANGES && !isFull()) walk(cursor);
        }
        m_out.more = cursor.phase != CHANGES || cursor.next != m_ledger.m_journal.end();
        tellFigures();
    }

private:
    // Looking costs time even where there is nothing to tell.
    bool isFull() const {
        const std::size_t told = m_out.size() + m_figures.size() + m_pairs.size();
        return told >= m_nMost || m_nLooked >= m_nMost * 8;
    }

    // One step through everything.
    void walk(ChangeCursor& cursor) {
        const std::uint32_t sizes[] = {0,
                                       m_ledger.m_pairs.size(),
                                       m_ledger.m_stocks.size(),
                                       m_ledger.m_orders.size(),
                                       m_ledger.m_deals.size(),
                                       static_cast<std::uint32_t>(m_ledger.m_taskEntries.size())};
        ++m_nLooked;
        if (cursor.walked >= sizes[cursor.phase]) {
            cursor.walked = 0;
            cursor.phase = cursor.phase == TASKS ? CHANGES : cursor.phase + 1;
            return;
        }
        const std::uint32_t at = cursor.walked++;
        switch (cursor.phase) {
            case PAIRS:
                takeWholePair(at);
                break;
            case STOCKS:
                takeStock(at);
                break;
            case ORDERS:
                takeOrder(at);
                break;
            case DEALS:
                takeDeal(at);
                break;
            default:
                takeTask(at);
        }
    }

    // An entry counts while its record names its place: an older one has a newer one behind it,
    // or its record is gone.
    void takeEntry(CChangeJournal::Place place) {
        ++m_nLooked;
        const auto [kind, at] = m_ledger.m_journal[place];
        switch (kind) {
            case EKind::Pair:
                if (m_ledger.m_pairs[at].changedAt == place) m_pairs.push_back(at);
                break;
            case EKind::WholePair:
                if (m_ledger.m_pairs[at].leftAt == place) takeWholePair(at);
                break;
            case EKind::Stock:
                if (m_ledger.m_stocks[at].changedAt == place) takeStock(at);
                break;
            case EKind::Order:
                if (m_ledger.m_orders[at].changedAt == place) takeOrder(at);
                break;
            case EKind::Deal:
                if (m_ledger.m_deals[at].changedAt == place) takeDeal(at);
                break;
            case EKind::Task:
                if (at < m_ledger.m_taskEntries.size() &&
                    m_ledger.m_taskEntries[at].changedAt == place) {
                    takeTask(at);
                }
                break;
            case EKind::Gone:
                takeGone(place);
                break;
            case EKind::AccountDropped:
                dropAccount(place, at);
                break;
            case EKind::TasksDropped:
                m_out.tasksDropped |= m_ledger.m_nTasksDroppedAt == place;
        }
    }

    void dropAccount(CChangeJournal::Place place, std::uint32_t at) {
        const Account& account = m_ledger.m_accounts[at];
        if (account.droppedAt == place) m_out.droppedAccounts.push_back(account.key);
    }

    void takeWholePair(std::uint32_t at) {
        const Pair& pair = m_ledger.m_pairs[at];
        m_pairs.push_back(at);
        for (const Figures* const figures : pair.figures)
            m_figures.emplace_back(at, figures->stock);
        m_nLooked += pair.figures.size();
    }

    void takeStock(std::uint32_t at) {
        const Stock& stock = m_ledger.m_stocks[at];
        m_out.stocks.push_back({stock.key, stock.lastPrice, stock.valuedPrice});
    }

    void takeOrder(std::uint32_t at) {
        const OrderEntry& entry = m_ledger.m_orders[at];
        if (!entry.told || entry.cell == NONE) return;
        const std::uint32_t account = m_ledger.m_cells[entry.cell].account;
        m_out.orders.push_back({m_ledger.m_accounts[account].key, entry.report});
        if (entry.figures)
            touch(account, m_ledger.m_pairs[entry.pair].strategy, entry.figures->stock);
    }

    void takeDeal(std::uint32_t at) {
        const DealEntry& entry = m_ledger.m_deals[at];
        if (!entry.told) return;
        const Cell& cell = m_ledger.m_cells[entry.cell];
        m_out.deals.push_back({m_ledger.m_accounts[cell.account].key, entry.report});
        const auto& strategy = strategyOf(entry.report->m_pCommand.get());
        if (entry.counted) touch(cell.account, m_ledger.findStrategy(strategy), cell.stock);
    }

    void takeGone(CChangeJournal::Place place) {
        const GoneRecord& gone = m_ledger.m_gone.at(place);
        if (m_ledger.isThere(gone)) return;
        if (gone.order.report) {
            m_out.goneOrders.push_back(gone.order);
        } else {
            m_out.goneDeals.push_back(gone.deal);
        }
    }

    void takeTask(std::uint32_t at) {
        const TaskEntry& entry = m_ledger.m_taskEntries[at];
        m_out.tasks.push_back({entry.account, entry.report});
        const std::uint32_t account = m_ledger.findAccount(entry.account);
        const std::string& strategy = strategyOf(entry.report->m_pCommand.get());
        for (const std::string& name : {strategy, std::string(WHOLE_ACCOUNT)}) {
            if (const Pair* const pair = m_ledger.findPair(account, m_ledger.findStrategy(name))) {
                m_pairs.push_back(m_ledger.m_accounts[account].pairs[pair->strategy]);
            } else {
                m_taskPairs.emplace_back(entry.account, name);
            }
        }
    }

    // A report changes the figures of its strategy and those of the account as a whole.
    void touch(std::uint32_t account, std::uint32_t strategy, std::uint32_t stock) {
        const auto& pairs = m_ledger.m_accounts[account].pairs;
        for (const std::uint32_t name : {strategy, WHOLE_ACCOUNT_ID}) {
            if (name >= pairs.size() || pairs[name] == NONE) continue;
            m_figures.emplace_back(pairs[name], stock);
            m_pairs.push_back(pairs[name]);
        }
    }

    void tellFigures() {
        sortOnce(m_figures);
        sortOnce(m_pairs);
        sortOnce(m_taskPairs);
        for (const auto& [at, stock] : m_figures) {
            const Pair& pair = m_ledger.m_pairs[at];
            Figures* const figures = pair.index.find(stock);
            if (!figures) continue;
            m_out.figures.push_back({accountOf(pair), strategyOfPair(pair),
                                     m_ledger.m_stocks[stock].key, figures->share()});
        }
        for (const std::uint32_t at : m_pairs) {
            const Pair& pair = m_ledger.m_pairs[at];
            tellPair(accountOf(pair), strategyOfPair(pair), pair.running.size(), pair.profit);
        }
        for (const auto& [account, strategy] : m_taskPairs) tellPair(account, strategy, 0, 0.0);
    }

    void tellPair(const std::string& account, const std::string& strategy, std::size_t orders,
                  double profit) {
        m_out.pairs.push_back({account, strategy, static_cast<int>(orders),
                               m_ledger.m_runningTasks.count(account, strategy), profit});
    }

    const std::string& accountOf(const Pair& pair) const {
        return m_ledger.m_accounts[pair.account].key;
    }
    const std::string& strategyOfPair(const Pair& pair) const {
        return m_ledger.m_strategies[pair.strategy].key;
    }

    const CLedger& m_ledger;
    LedgerChanges& m_out;
    const std::size_t m_nMost;
    std::size_t m_nLooked = 0;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> m_figures;  ///< pair, stock
    std::vector<std::uint32_t> m_pairs;
    /// Account and strategy of tasks, where no order or deal has come.
    std::vector<std::pair<std::string, std::string>> m_taskPairs;
};

void CLedger::changesSince(ChangeCursor& cursor, std::size_t most, LedgerChanges& out) {
    m_journal.ask();
    if (cursor.source != m_journal.source() || !m_journal.reaches(cursor.next)) {
        cursor.source = m_journal.source();
        cursor.next = m_journal.end();
        cursor.walked = 0;
        cursor.phase = PAIRS;
        out.everything = true;
    }
    CChangeReader(*this, out, std::max<std::size_t>(most, 1)).read(cursor);
}

void CLedger::noteLeft(std::uint32_t pair) {
    if (pair != NONE) m_journal.note(EKind::WholePair, pair, m_pairs[pair].leftAt);
}

void CLedger::noteMovedDeal(std::uint32_t accountAt, const DealPtr& before, const DealPtr& now) {
    if (!m_journal.isOn()) return;
    const std::string& strategy = strategyOf(before->m_pCommand.get());
    if (strategy == strategyOf(now->m_pCommand.get())) return;
    const std::uint32_t name = findStrategy(strategy);
    if (findPair(accountAt, name)) noteLeft(m_accounts[accountAt].pairs[name]);
}

void CLedger::noteTask(const std::string& accountKey, const TaskPtr& task) {
    const auto next = static_cast<std::uint32_t>(m_taskEntries.size());
    const auto [place, isNew] = m_taskIndex.try_emplace({accountKey, task->recordKey()}, next);
    if (isNew) m_taskEntries.push_back({.account = accountKey});
    TaskEntry& entry = m_taskEntries[place->second];
    entry.report = task;
    m_journal.note(EKind::Task, place->second, entry.changedAt);
}

// The journal has no room for what is gone, and says only where it was.
void CLedger::noteGone(ChangedOrder order, ChangedDeal deal) {
    if (!m_journal.isOn()) return;
    CChangeJournal::Place place = 0;
    m_journal.note(EKind::Gone, 0, place);
    m_gone[place] = {std::move(order), std::move(deal)};
    while (!m_journal.reaches(m_gone.begin()->first)) m_gone.erase(m_gone.begin());
}

// The record may be back by now; then it is told.
bool CLedger::isThere(const GoneRecord& gone) const {
    const auto isIn = [&](const auto& entries, std::uint32_t at, const auto& report) {
        for (; at != NONE; at = entries[at].nextInCell) {
            if (entries[at].key == report.recordKey()) return entries[at].told;
        }
        return false;
    };
    const auto cellOfReport = [&](const std::string& account, const auto& report) {
        return findCell(dayKey(report.m_strTradeDate),
                        utils::zorStockKey(report.m_strMarket, report.m_strCode), account);
    };
    if (gone.order.report) {
        const Cell* const cell = cellOfReport(gone.order.account, *gone.order.report);
        return cell && isIn(m_orders, cell->firstOrder, *gone.order.report);
    }
    const Cell* const cell = cellOfReport(gone.deal.account, *gone.deal.report);
    return cell && isIn(m_deals, cell->firstDeal, *gone.deal.report);
}

}  // namespace TC

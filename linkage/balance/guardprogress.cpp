#include "linkage/balance/balancestate.h"
#include "linkage/balance/guardedbalances.h"
#include "linkage/balance/guardreasons.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/published.h"
#include "linkage/ledger/attribution.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "platform/log.h"

#include <algorithm>

namespace TC {

namespace {

constexpr std::int64_t LOST_AFTER = 60'000'000;

bool runs(const vexservice::COrderDetail& order) {
    return vexservice::COrderDetailHelper::isRunning(order.m_eStatus);
}

}  // namespace

// ------------------------------------------------------------- the day and its book

void CGuardedBalances::start() {
    m_strDate = m_manager.m_pTradeDate->get();
    m_bUnread = true;
    bookIsRead();
}

// Without the book nobody knows what was sent before a restart.
bool CGuardedBalances::bookIsRead() {
    if (!m_bUnread) return true;
    const IBookFile::Text text = m_book.read(m_strDate);
    if (!text.readable) {
        g_VexStdLogger.error(GUARDED_BALANCES,
                             "the book of balances cannot be read; none is taken");
        return false;
    }
    m_bUnread = false;
    restore(text.bytes);
    return true;
}

void CGuardedBalances::restore(const std::string& text) {
    int damaged = 0;
    std::map<int, Balance> read = readBook(text, damaged);
    if (damaged > 0)
        LINKAGE_LOG_WARNING(GUARDED_BALANCES, "{0} lines of the book cannot be read", damaged);
    for (auto& [number, balance] : read) {
        balance.date = m_strDate;
        m_nLast = std::max(m_nLast, number);
        for (const SentCommand& command : balance.commands) {
            if (command.number != 0) m_senders[command.number] = number;
        }
        m_dirty.insert(balance.pair.account);
        Balance& kept = m_balances[number] = std::move(balance);
        kept.changedAt = ++m_nChanges;
        if (kept.isToDecide()) {
            end(kept, REASON_RESTART);
        } else if (kept.state == EBalanceState::Sent) {
            m_active.insert(number);
        }
    }
}

void CGuardedBalances::newDay(const std::string& date) {
    const std::vector<int> active(m_active.begin(), m_active.end());
    for (const int number : active) end(m_balances.at(number), REASON_NEW_DATE);
    // Keeps the balances of the day that ends, for getBalances, and drops those of the days
    // before.
    std::erase_if(m_balances, [&](const auto& each) {
        return !isToday(each.second) && each.second.date != date;
    });
    std::erase_if(m_senders, [&](const auto& each) { return !m_balances.count(each.second); });
    m_bAllLoading = true;
    ++m_nGeneration;
    if (date != m_strDate) {
        m_finals.clear();
        m_strDate = date;
        m_bUnread = true;
        bookIsRead();
    }
    settle(concerned());
}

// ------------------------------------------------------------------ loads of accounts

void CGuardedBalances::allLoaded() {
    m_bAllLoading = false;
    settle(concerned());
}

bool CGuardedBalances::isLoaded(const std::string& account) const {
    const auto at = m_loadedIn.find(account);
    return at != m_loadedIn.end() && at->second == m_nGeneration;
}

// The load may bring reports that are older than the known ones; an order that has ended stays
// ended.
void CGuardedBalances::loadBegins(const std::string& account) {
    m_inLoad.insert(account);
    auto& finals = m_finals[account];
    m_manager.m_pLedger->forEachOrder(account, dayKey(m_strDate),
                                      [&](const std::string&, const OrderPtr& order) {
                                          if (!runs(*order)) finals[order->recordKey()] = order;
                                      });
}

void CGuardedBalances::loadEnds(const std::string& account, bool loaded) {
    m_inLoad.erase(account);
    m_news.insert(account);
    if (!loaded) {
        m_loadedIn.erase(account);
        return;
    }
    m_loadedIn[account] = m_nGeneration;
    std::map<std::uint64_t, OrderPtr> takenBack;
    auto& finals = m_finals[account];
    m_manager.m_pLedger->forEachOrder(account, dayKey(m_strDate),
                                      [&](const std::string&, const OrderPtr& order) {
                                          const auto final = finals.find(order->recordKey());
                                          if (final != finals.end() && runs(*order))
                                              takenBack.insert(*final);
                                      });
    finals.swap(takenBack);
    loseUnheard(account);
    m_dirty.insert(account);
}

void CGuardedBalances::loseUnheard(const std::string& account) {
    const GuardPicture seen = freshPicture(account);
    for (auto& [number, balance] : m_balances) {
        if (!isToday(balance) || balance.pair.account != account) continue;
        bool changed = false;
        for (SentCommand& command : balance.commands) {
            const bool known = command.number != 0 && seen.commands.count(command.number) > 0;
            if (known || command.refused || now() < command.sentAt + LOST_AFTER) continue;
            for (SentOrder& order : command.orders) {
                changed = changed || !order.lost;
                order.lost = true;
            }
        }
        if (changed) note(balance, "lost");
    }
}

// ------------------------------------------------------------------------- reports

// Nobody calls emptied() for running sets of history, nor for a set that keeps an order whose
// end a later report took back.
bool CGuardedBalances::emptiesUnseen(const std::string& account,
                                     const vexservice::CCommandRecord* carrier) const {
    if (isHistoryBalance(carrier)) return true;
    const auto finals = m_finals.find(account);
    return finals != m_finals.end() && !finals->second.empty();
}

void CGuardedBalances::orderFiled(const std::string& account, const vexservice::COrderDetail& order,
                                  const OrderPtr& takenBack) {
    if (takenBack) m_finals[account][order.recordKey()] = takenBack;
    const auto* const carrier = order.m_pCommand.get();
    const bool sent = carrier && carrier->m_nCommand != 0 && m_senders.count(carrier->m_nCommand);
    if (sent) {
        m_dirty.insert(account);
        m_ownOrders[account].insert(order.recordKey());
    }
    if (sent || (!m_active.empty() && emptiesUnseen(account, carrier))) m_news.insert(account);
}

void CGuardedBalances::dealFiled(const std::string& account, const vexservice::CDealDetail& deal) {
    const auto* const carrier = deal.m_pCommand.get();
    const bool sent = carrier && carrier->m_nCommand != 0 && m_senders.count(carrier->m_nCommand);
    // A deal without a command number may name an order that has one.
    const auto own = m_ownOrders.find(account);
    const bool names = own != m_ownOrders.end() && own->second.count(deal.m_nOrderKey) > 0;
    if (!sent && !names) return;
    m_dirty.insert(account);
    m_news.insert(account);
}

void CGuardedBalances::emptied(const std::string& account) {
    if (!m_active.empty()) m_news.insert(account);
}

// ------------------------------------------------------------------------ progress

GuardPicture CGuardedBalances::freshPicture(const std::string& account) const {
    const auto finals = m_finals.find(account);
    GuardSources sources{.ledger = *m_manager.m_pLedger,
                         .account = account,
                         .today = dayKey(m_strDate),
                         .finals = finals == m_finals.end() ? nullptr : &finals->second};
    sources.senderOf = [this](int command) -> const GuardPair* {
        const auto at = m_senders.find(command);
        return at == m_senders.end() ? nullptr : &m_balances.at(at->second).pair;
    };
    sources.counted = [this, &account](const std::string& strategy,
                                       const vexservice::CDealDetail& deal) {
        return !strategy.empty() && m_manager.isCountedInHistory(account + strategy, deal);
    };
    return takePicture(sources);
}

const GuardPicture& CGuardedBalances::picture(const std::string& account) {
    if (!m_picture) m_picture = freshPicture(account);
    return *m_picture;
}

void CGuardedBalances::refreshDirty(const std::string& account) {
    if (m_dirty.count(account) == 0 || isLoading(account) || !isLoaded(account)) return;
    for (auto& [number, balance] : m_balances) {
        if (balance.pair.account == account && isToday(balance)) {
            refresh(balance, picture(account));
        }
    }
    m_dirty.erase(account);
}

void CGuardedBalances::refresh(Balance& balance, const GuardPicture& seen) {
    std::map<std::string, std::int64_t> filled;
    bool changed = false;
    for (SentCommand& command : balance.commands) {
        for (SentOrder& order : command.orders) {
            const auto* trace = seen.trace(command.number, order.stock, order.buys);
            SentOrder newest = order;
            newest.filled = trace ? std::max(trace->traded, trace->dealt) : 0;
            newest.heard = trace && trace->hasOrder;
            newest.ended = newest.heard && !trace->runs;
            newest.rejected = trace && trace->rejected;
            if (newest.rejected) newest.remark = trace->remark;
            changed = changed || newest != order;
            order = newest;
            filled[order.stock] += order.buys ? order.filled : -order.filled;
        }
    }
    for (auto& [key, stock] : balance.stocks) stock.filled = filled[key];
    for (auto& [key, order] : balance.cancelledOrders) {
        if (order.confirmed != 0) continue;
        const bool running =
            std::any_of(seen.orders.begin(), seen.orders.end(), [&, &at = key](const auto& each) {
                return each.report && each.report->recordKey() == at && each.figures.runs;
            });
        if (running) continue;
        order.confirmed = now();
        changed = true;
    }
    if (balance.remainsOpen) {
        tellRemains(balance);
        changed = true;
    }
    if (changed) note(balance, "progress");
}

void CGuardedBalances::tellRemains(Balance& balance) {
    balance.remainsOpen = false;
    if (balance.stocks.empty()) return;
    const auto volumes = volumesOf(balance.pair, freshPicture(balance.pair.account));
    for (auto& [key, stock] : balance.stocks) {
        const auto at = volumes.find(key);
        stock.remains = at == volumes.end() ? 0 : at->second.bought - at->second.sold;
        stock.reason = reasonAtEnd(balance, key);
    }
}

void CGuardedBalances::completed(int number, std::size_t at, const utils::VexError& error,
                                 int command) {
    const CStep step(m_manager.tape(), [&] { return ResultInput{number, at, error, command}; });
    const CLock lock(m_manager.m_mutex);
    const auto found = m_balances.find(number);
    if (found == m_balances.end() || at >= found->second.commands.size()) return;
    Balance& balance = found->second;
    SentCommand& sent = balance.commands[at];
    bool changed = false;
    if (command > 0 && sent.number == 0) {
        sent.number = command;
        m_senders[command] = number;
        changed = true;
    }
    if (!error.isOk() && !sent.refused) {
        const GuardPicture seen = freshPicture(balance.pair.account);
        const bool came = sent.number != 0 && seen.commands.count(sent.number) > 0;
        if (!came) {
            sent.refused = true;
            sent.text = error.m_strText;
            changed = true;
        }
    }
    if (!changed) return;
    m_dirty.insert(balance.pair.account);
    note(balance, sent.refused ? "command refused" : "command numbered");
    settle(balance.pair.account);
}

}  // namespace TC

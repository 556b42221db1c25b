#pragma once

#include "linkage/balance/guardedbalances.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/inbox.h"
#include "linkage/core/published.h"
#include "linkage/ledger/daykey.h"
#include "linkage/record/picturemanager.h"
#include "linkage/record/tapetext.h"
#include "linkage/tape/tapeinput.h"

namespace TC {

/// The protected operations that a scenario may call, and those that the benchmark
/// measures.
struct ManagerAccess {
    static void onOrderDetail(CLinkageManager& manager, const std::string& accountKey,
                              const boost::shared_ptr<vexservice::IData>& data) {
        manager.onOrderDetail(accountKey, data);
    }
    static void onDealDetail(CLinkageManager& manager, const std::string& accountKey,
                             const boost::shared_ptr<vexservice::IData>& data) {
        manager.onDealDetail(accountKey, data);
    }
    static void doOrderDetail(CLinkageManager& manager, const std::string& accountKey,
                              const boost::shared_ptr<vexservice::COrderDetail>& order) {
        manager.doOrderDetail(accountKey, order);
    }
    static void doDealDetail(CLinkageManager& manager, const std::string& accountKey,
                             const boost::shared_ptr<vexservice::CDealDetail>& deal) {
        manager.doDealDetail(accountKey, deal);
    }
    static void onPriceData(CLinkageManager& manager, const std::string& stockKey,
                            const boost::shared_ptr<vexservice::CPriceData>& price) {
        manager.onPriceData(stockKey, price);
    }
    /// Takes a report in, as the strand does. `held`: in a row of reports, under one hold.
    static void takeReport(CLinkageManager& manager, InboxItem& item, bool held) {
        if (!held) return manager.handle(item);
        const CLock lock(manager.m_mutex);
        manager.takeHeld(item);
    }
    static void takePosition(CLinkageManager& manager, const std::string& accountKey,
                             const boost::shared_ptr<vexservice::CPositionStatics>& position) {
        manager.takePosition(accountKey, position);
    }
    static void doTaskDetail(CLinkageManager& manager,
                             const boost::shared_ptr<vexservice::CTaskDetail>& task) {
        manager.doTaskDetail(task);
    }
    static void onRequestQuote(CLinkageManager& manager, const BarsInput& bars) {
        manager.onRequestQuote(bars.stockKey, bars.day, bars.finished, bars.bars);
    }
    static void onQueryHistory(CLinkageManager& manager,
                               const HistoryInput<vexservice::CDealDetail>& answer) {
        manager.onQueryHistoryDeal(answer.question, answer.error, answer.records);
    }
    static void onQueryHistory(CLinkageManager& manager,
                               const HistoryInput<vexservice::COrderDetail>& answer) {
        manager.onQueryHistoryOrder(answer.question, answer.error, answer.records);
    }
    static void giveHistoryDayUp(CLinkageManager& manager, std::uint64_t question,
                                 const std::string& fault) {
        manager.giveHistoryDayUp(question, fault.c_str());
    }
    static void completed(CLinkageManager& manager, const ResultInput& result) {
        if (!manager.m_pGuarded) return;
        manager.m_pGuarded->completed(result.balance, result.index, result.error, result.command);
    }
    static void noteState(CLinkageManager& manager, bool sums = true) { manager.noteState(sums); }
    static void settleBalances(CLinkageManager& manager, const std::string& account) {
        manager.settleBalances(account);
    }
    static void login(CLinkageManager& manager, bool ok) {
        manager.slotProxyLoginStatus(ok ? PROXY_LOGIN_SUCCESS : PROXY_LOGIN_FAILED, QString());
    }
    static void accountReady(CLinkageManager& manager, const vexservice::CAccountInfo& info) {
        manager.slotRefreshAccount(info);
    }
    static void newTradingDate(CLinkageManager& manager, const std::string& date) {
        manager.slotNewTradingDate(date);
    }
    /// Makes a fresh manager what a picture says, as if init() had been called long ago.
    template <class Reader>
    static void restore(CLinkageManager& manager, Reader& picture) {
        const CLock lock(manager.m_mutex);
        manager.resume();
        PictureMembers::of(picture, manager);
    }
    /// All that the manager has, as a text that is the same when a recording is played.
    static std::string stateText(CLinkageManager& manager) { return manager.exactState(); }
    /// What a recording that begins now has before its first step: the lines of its head, and the
    /// picture. Nothing where none can begin. The manager takes no step.
    static std::optional<std::pair<std::string, RecordingPicture>> recordingStart(
        CLinkageManager& manager) {
        auto picture = manager.pictureAtRest();
        if (!picture) return std::nullopt;
        return std::pair(manager.recordingHead(), std::move(*picture));
    }
    static const LinkageOptions& options(const CLinkageManager& manager) {
        return manager.m_options;
    }
    /// The account has no records and no figures of the day any more, as if its load had just
    /// begun.
    static void dropRecords(CLinkageManager& manager, const std::string& accountKey) {
        const CLock lock(manager.m_mutex);
        manager.m_pLedger->removeAccount(accountKey, dayKey(manager.m_pTradeDate->get()));
        manager.m_pQuotes->forgetAccount(accountKey);
        manager.dropStatsOf(accountKey);
        manager.dropHistoryOrders(accountKey);
    }
    /// Whether the manager is told the prices of the stock.
    static bool isPriceRequested(CLinkageManager& manager, const std::string& stockKey) {
        const CLock lock(manager.m_mutex);
        return manager.m_pQuotes->isRequested(stockKey);
    }
    /// Work that the manager had left for later; empty when it is unknown.
    static boost::function<void()> leftWork(CLinkageManager& manager, std::uint64_t number,
                                            const LeftWork& what) {
        auto work = manager.workOf(what);
        return work.empty() ? work : manager.leftWork(number, what, std::move(work));
    }
    static void setTape(CLinkageManager& manager, ITape* tape) { manager.setTape(tape); }
    static bool hasLock(CLinkageManager& manager) { return manager.m_mutex.isMine(); }

    static void runStatCalculator(CLinkageManager& manager) { manager.runStatCalculator(); }
    static void post(CLinkageManager& manager, boost::function<void()> work) {
        manager.post(std::move(work));
    }

    /// Whether a thread could take the manager's lock now.
    static bool isLockFree(CLinkageManager& manager) {
        if (!manager.m_mutex.try_lock()) return false;
        manager.m_mutex.unlock();
        return true;
    }

    static void doStockBalance(CLinkageManager& manager, const std::string& accountKey,
                               const std::string& strategy) {
        manager.doStockBalance(accountKey, strategy);
    }
    static void doStockBalanceBySignalTask(CLinkageManager& manager, const std::string& accountKey,
                                           const std::string& strategy) {
        manager.doStockBalanceBySignalTask(accountKey, strategy);
    }
};

}  // namespace TC

#include "desk/actions.h"

#include "desk/engine.h"
#include "desk/faulttexts.h"
#include "desk/market.h"
#include "linkage/core/clinkagemanager.h"
#include "platform/services/clientconfig.h"
#include "platform/services/tradeclient.h"
#include "platform/utils/text.h"
#include "replay/times.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <utility>

namespace desk {

namespace {

using Manager = utils::CSingletonT<TC::CLinkageManager>;

/// A job for the manager; it is skipped while there is none.
template <class Work>
CEngine::Job onManager(Work work) {
    return [work = std::move(work)] {
        if (Manager::exists()) work(*Manager::instance());
    };
}

/// What a pair has traded today, as the history store keeps it.
TC::TradeStatData statOf(const TC::CLinkageManager& manager, const Selection& pair) {
    TC::TradeStatData stat;
    stat.m_strAccountKey = pair.account;
    stat.m_strStrategy = pair.strategy;
    stat.m_strAddDate = manager.getTradeDate();
    for (const auto& account : manager.getAccounts()) {
        if (account->m_strKey != pair.account) continue;
        stat.m_strFundAccountId = account->m_strID;
        stat.m_strAccountName = account->m_strName;
        stat.m_strAccountType = std::to_string(account->m_nType);
        stat.m_strBroker = account->m_strBroker;
    }
    const bool type3 =
        utils::CSingletonT<TC::CAppConfig>::instance()->isClientType(TC::CLIENT_TYPE_3);
    for (const auto& [stock, record] : manager.getTradeStatDatas(pair.account, pair.strategy)) {
        const TC::EffectiveFigures figures = TC::effectiveFigures(*record, type3);
        stat.m_nTotalBuyVolume += figures.buyVolume;
        stat.m_nTotalSellVolume += figures.sellVolume;
        stat.m_dTotalBuyAmount += figures.buyAmount;
        stat.m_dTotalSellAmount += figures.sellAmount;
    }
    return stat;
}

/// Calls `work` for each file; without a manager each is refused.
template <class Work>
ImportAnswer overFiles(const std::vector<ImportFile>& files, Work work) {
    ImportAnswer answer;
    answer.reports.reserve(files.size());
    TC::CLinkageManager* const manager = Manager::exists() ? Manager::instance() : nullptr;
    for (const ImportFile& file : files) {
        if (manager) {
            answer.reports.push_back(work(*manager, file));
            continue;
        }
        TC::ImportReport report;
        report.path = file.path;
        report.refusal = QT_TRANSLATE_NOOP("ImportText", "the library is not running");
        answer.reports.push_back(report);
    }
    if (!manager) return answer;
    const auto accounts = manager->getAccounts();
    answer.accounts.reserve(accounts.size());
    for (const auto& account : accounts) answer.accounts.push_back(account->m_strKey);
    return answer;
}

PlanPreview previewOf(TC::CLinkageManager& manager, const Selection& pair, bool history) {
    PlanPreview preview;
    preview.plan = history ? manager.previewHistoryBalance(pair.account, pair.strategy)
                           : manager.previewBalance(pair.account, pair.strategy);
    if (!history) {  // a balance of history cancels nothing
        preview.runningOrders = manager.getRunningOrders(pair.account, pair.strategy);
        preview.runningTasks = manager.getRunningTasks(pair.account, pair.strategy);
    }
    for (const TC::StockBalance& stock : preview.plan.stocks) {
        const auto price = priceOf(stock.stockKey);
        if (price && price->hasLastPrice())
            preview.lastPrices[stock.stockKey] = price->m_dLastPrice;
        const auto detail = detailOf(stock.stockKey);
        if (detail) preview.names[stock.stockKey] = detail->m_strName;
    }
    return preview;
}

/// Empty, or why the cancellation was not asked for. What becomes of it the order's reports tell.
QString cancel(const TC::CLinkageManager& manager, const std::string& account, std::uint64_t key) {
    const auto orders =
        manager.getAccountOrders(account, replay::dayNumber(manager.getTradeDate()));
    const auto found = orders.find(key);
    if (found == orders.end() || !vexservice::isRunningStatus(found->second->m_eStatus))
        return CEngine::tr("it does not run any more");
    QString error;
    const bool asked = utils::CManualSingletonT<TC::CTradeClient>::instance()->cancelOrder(
        found->second, error, -1, QString(), {});
    if (asked) return {};
    return error.isEmpty() ? CEngine::tr("the trading server was not asked") : faultText(error);
}

}  // namespace

std::string balanceKey(const std::string& account, const std::string& strategy) {
    return account + ":" + strategy;
}

bool CActions::mayCommand() const { return !m_engine.isRecording(); }

template <class Job>
void CActions::command(Job job) {
    if (mayCommand()) m_engine.post(std::move(job));
}

QString noCommandText() {
    return CEngine::tr("A recording shows what was: nothing can be sent or changed.");
}

void CActions::preview(const Selection& pair, bool history, PlanAnswer answer) {
    m_engine.post(
        onManager([&engine = m_engine, pair, history, answer](TC::CLinkageManager& manager) {
            const PlanPreview preview = previewOf(manager, pair, history);
            engine.answer([answer, preview] { answer(preview); });
        }));
}

void CActions::balance(const Selection& pair, std::function<void(bool)> answer) {
    command(onManager([&engine = m_engine, pair, answer](TC::CLinkageManager& manager) {
        const CBalanceWatch::CAsking asking(engine.witness().balances,
                                            {pair.account, pair.strategy}, false, EAskedBy::Trader);
        const bool asked = manager.runAutoBalance(pair.account, pair.strategy);
        engine.answer([answer, asked] { answer(asked); });
    }));
}

void CActions::balanceHistory(const Selection& pair) {
    command(onManager([&engine = m_engine, pair](TC::CLinkageManager& manager) {
        const CBalanceWatch::CAsking asking(
            engine.witness().balances, {pair.account, pair.strategy}, true, EAskedBy::Trader, 0);
        manager.doHistoryBalanceBySignalTask(pair.account, pair.strategy);
    }));
}

void CActions::cancelOrder(const std::string& account, std::uint64_t key,
                           std::function<void(const QString&)> answer) {
    command(onManager([&engine = m_engine, account, key, answer](TC::CLinkageManager& manager) {
        const CBalanceWatch::CCancelling cancelling(engine.witness().balances);
        QString fault;
        try {
            fault = cancel(manager, account, key);
        } catch (const std::exception& thrown) {  // a service of the client
            fault = faultText(QString::fromUtf8(thrown.what()));
        }
        engine.answer([answer, fault] { answer(fault); });
    }));
}

void CActions::cancelAllOrders(const Selection& pair) {
    command(onManager([&engine = m_engine, pair](TC::CLinkageManager& manager) {
        const CBalanceWatch::CCancelling cancelling(engine.witness().balances);
        manager.cancelAllOrders(pair.account, pair.strategy);
    }));
}

void CActions::setBalanceTime(const std::string& key, const std::string& time) {
    command(onManager(
        [key, time](TC::CLinkageManager& manager) { manager.addBalanceTime(key, time); }));
}

void CActions::deleteBalanceTime(const std::string& key) {
    command(onManager([key](TC::CLinkageManager& manager) { manager.deleteBalanceTime(key); }));
}

void CActions::carryOver(const Selection& pair, std::function<void(bool)> answer) {
    command(onManager([&engine = m_engine, pair, answer](TC::CLinkageManager& manager) {
        const std::string key = pair.account + pair.strategy;
        const bool fresh = !manager.isAlreadyAdd(key);
        if (fresh) {
            manager.addHistoryStat(key, statOf(manager, pair));
            manager.addHistoryLinkdata(pair.account, pair.strategy);
            manager.writedata(false);
        }
        engine.answer([answer, fresh] { answer(fresh); });
    }));
}

void CActions::deleteHistoryStock(const std::string& historyKey, const std::string& stock) {
    command(onManager([historyKey, stock](TC::CLinkageManager& manager) {
        manager.deleteHistoryLinkageData(historyKey, stock);
    }));
}

void CActions::deleteBalancedHistory() {
    command(
        onManager([](TC::CLinkageManager& manager) { manager.deleteHistoryAlreadyBalancedata(); }));
}

void CActions::deleteAllHistory() {
    command(onManager([](TC::CLinkageManager& manager) { manager.deleteAllHisTorydata(); }));
}

void CActions::previewImport(const std::vector<ImportFile>& files, ImportAnswered answer) {
    command([&engine = m_engine, files, answer] {
        const ImportAnswer done =
            overFiles(files, [](TC::CLinkageManager& manager, const ImportFile& file) {
                return manager.importPreview(file.path, file.terms);
            });
        engine.answer([answer, done] { answer(done); });
    });
}

void CActions::import(const std::vector<ImportFile>& files, ImportAnswered answer) {
    command([&engine = m_engine, files, answer] {
        const ImportAnswer done =
            overFiles(files, [](TC::CLinkageManager& manager, const ImportFile& file) {
                return manager.importData(file.path, file.terms);
            });
        engine.answer([answer, done] { answer(done); });
    });
}

void CActions::undoImports(std::vector<int> numbers, std::function<void(int)> answer) {
    std::sort(numbers.rbegin(), numbers.rend());
    command(onManager([&engine = m_engine, numbers, answer](TC::CLinkageManager& manager) {
        int undone = 0;
        for (const int number : numbers) undone += manager.undoImport(number);
        engine.answer([answer, undone] { answer(undone); });
    }));
}

void CActions::setRecording(const RecordTerms& terms) {
    m_engine.post([&engine = m_engine, terms] { engine.recorder().setTerms(terms); });
}

void CActions::recordNow(std::function<void(bool)> answer) {
    command(onManager([&engine = m_engine, answer](TC::CLinkageManager& manager) {
        const bool begun = engine.recorder().recordNow(manager);
        engine.answer([answer, begun] { answer(begun); });
    }));
}

void CActions::stopRecording() {
    command(onManager([](TC::CLinkageManager& manager) { manager.stopRecording(); }));
}

void CActions::readPastDay(const std::string& account, const std::string& date,
                           std::function<void(const PastDay&)> answer) {
    m_engine.post([&engine = m_engine, account, date, answer] {
        auto day = std::make_shared<PastDay>(PastDay{.account = account, .date = date});
        if (Manager::exists()) *day = takePastDay(*Manager::instance(), account, date);
        engine.answer([answer, day] { answer(*day); });
    });
}

void CActions::askPastDay(const std::string& account, const std::string& date) {
    command(onManager([account, date](TC::CLinkageManager& manager) {
        manager.requestAccountDeals(account, date, date);
        manager.requestAccountOrders(account, date, date);
    }));
}

}  // namespace desk

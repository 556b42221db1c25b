#include "common/prefetch.h"
#include "linkage/core/accounts.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/datacenter.h"
#include "linkage/core/enginestate.h"
#include "linkage/core/guarded.h"
#include "linkage/core/managerstate.h"
#include "linkage/core/published.h"
#include "linkage/core/quotes.h"
#include "linkage/core/raise.h"
#include "linkage/core/reconciling.h"
#include "linkage/core/startcheck.h"
#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/record/recording.h"
#include "linkage/tape/services.h"
#include "platform/log.h"
#include "platform/services/clientconfig.h"
#include "platform/services/rpcengine.h"
#include "platform/services/tradercenter.h"
#include "platform/utils/singletonimpl.h"

#include <boost/make_shared.hpp>

#include <algorithm>

template class utils::CSingletonT<TC::CLinkageManager>;

namespace TC {

namespace {

constexpr char INIT[] = "CLinkageManager::init";
constexpr char DRAIN[] = "CLinkageManager::drainInbox";

/// So many reports are taken in one hold of the lock. A slot of the client may be called in each.
constexpr std::size_t REPORTS_PER_HOLD = 64;
/// After so many the strand lets others have the lock: more than arrive in a hold of theirs.
constexpr std::size_t REPORTS_IN_A_ROW = 1024;

void registerMetaTypes() {
    qRegisterMetaType<std::string>("std::string");
    qRegisterMetaType<vexservice::CAccountInfo>("vexservice::CAccountInfo");
    qRegisterMetaType<EProxyConnectionStatus>("TC::EProxyConnectionStatus");
}

std::string lastTradeDateOfShanghai() {
    const std::int64_t seconds = service<marlo::IMarketCalendar>().lastTradeDate("SH") / 1000;
    return QDateTime::fromSecsSinceEpoch(seconds).toString("yyyyMMdd").toStdString();
}

/// The kind of client. The first that a manager asks for, so here it stops when its services are
/// not there yet. Only then are the others looked at, to name all that is missing.
bool isClientType3() {
    if (!canBeMade()) {
        throw utils::ServiceMissing("no manager is made. Missing: " + textOf(missingServices()));
    }
    return utils::CSingletonT<CAppConfig>::instance()->isClientType(CLIENT_TYPE_3);
}

/// Another thread has written them: their lines are not in this processor's cache.
void prefetchRecords(const std::vector<InboxItem>& batch, std::size_t from) {
    for (std::size_t at = from; at < std::min(from + LOOK_AHEAD, batch.size()); ++at) {
        if (const auto* order = std::get_if<OrderPtr>(&batch[at].what)) {
            utils::prefetchAll(order->get());
        } else if (const auto* deal = std::get_if<DealPtr>(&batch[at].what)) {
            utils::prefetchAll(deal->get());
        }
    }
}

ComingReports reportsFrom(const std::vector<InboxItem>& batch, std::size_t from) {
    ComingReports reports;
    for (std::size_t at = from; at < std::min(from + LOOK_AHEAD, batch.size()); ++at) {
        const InboxItem& item = batch[at];
        ComingReport& report = reports[at - from];
        report.accountKey = item.accountKey;
        if (const auto* order = std::get_if<OrderPtr>(&item.what)) report.order = order->get();
        if (const auto* deal = std::get_if<DealPtr>(&item.what)) report.deal = deal->get();
    }
    return reports;
}

}  // namespace

CLinkageManager::CLinkageManager()
    : m_pTape(std::make_shared<CTapeSwitch>()),
      m_bClientType3(isClientType3()),
      m_pDoor(boost::make_shared<CDoor>()),
      m_pTradeDate(std::make_unique<CPublished<std::string>>()),
      m_pEngine(std::make_unique<EngineState>()),
      m_pAccounts(std::make_unique<FollowedAccounts>()),
      m_pQuotes(std::make_unique<CQuotes>()),
      m_pLedger(std::make_unique<CLedger>(m_bClientType3)),
      m_pReconciliations(std::make_unique<CReconciliations>()),
      m_pCurveData(makeCurveData()),
      m_pPositionReports(makePositionReports()),
      m_pBalance(makeBalanceState()),
      m_pHistory(makeHistoryState()),
      m_pServerHistory(makeServerHistory()),
      m_pSaver(makeSaver()),
      m_pImports(makeImportState()),
      m_pBook(makeBook()),
      m_pGuarded(nullptr, [](CGuardedBalances*) {}) {
    registerMetaTypes();
    readFromFile();
    readImports();
}

void CLinkageManager::setOptions(const LinkageOptions& options) {
    constexpr auto operation = "CLinkageManager::setOptions";
    const CStep step(tape(), [&] {
        return callOf("setOptions", options.guard, options.rounds, options.roundSeconds,
                      options.keepBalanceTimes, options.filedTotals, options.keepDays);
    });
    const CLock lock(m_mutex);
    const std::string fault = m_bInited ? "the manager was initialised before" : faultOf(options);
    if (!fault.empty()) {
        LINKAGE_LOG_WARNING(operation, "options are left as they are: {0}", fault);
        return;
    }
    m_options = options;
    if (options.keepBalanceTimes) readKeptBalanceTimes();
}

bool CLinkageManager::isInited() const {
    const CLock lock(m_mutex);
    return m_bInited;
}

LinkageOptions CLinkageManager::options() const {
    const CLock lock(m_mutex);
    return m_options;
}

void CLinkageManager::init() {
    const CStep step(tape(), [] { return callOf("init"); });
    CLock lock(m_mutex);
    if (m_bInited) return;
    Strand strand;
    const std::vector<MissingService> missing = checkStart(thread(), strand);
    const bool possible = canBegin(missing);
    if (!missing.empty()) {
        const std::string begin = possible ? "Missing, and needed later: " : "Not begun. Missing: ";
        g_VexStdLogger.error(INIT, begin + textOf(missing));
    }
    if (!possible) return;
    try {
        askTradeDate();
    } catch (...) {
        // Nothing is begun, so init() can be called again.
        return logThrown(INIT);
    }
    m_bInited = true;
    newStatsDay();
    connectClient();
    m_pEngine->setStrand(std::move(strand));
    startEngine();
    lock.unlock();
    runExtCalculator();
}

void CLinkageManager::askTradeDate() {
    if (m_bClientType3) {
        m_pTradeDate->set(lastTradeDateOfShanghai());
        return;
    }
    m_strUserData = service<CUserConfig>().getUserDataString(USER_NAME).toStdString();
    if (m_strUserData.empty()) {
        g_VexStdLogger.write(ELogLevel::Warning, INIT,
                             "the user has no name: no task of a user is followed");
    }
    const auto ask = [this] { m_pTradeDate->set(dataCenter().getTradingDate()); };
    if (!attempt(INIT, ask)) m_pTradeDate->set(lastTradeDateOfShanghai());
}

void CLinkageManager::connectClient() {
    connect(getProxyClient(), &CProxyClient::sig_loginStatus, this,
            &CLinkageManager::slotProxyLoginStatus);
    connect(utils::CManualSingletonT<CTradeClient>::instance(), &CTradeClient::sigInitedAccountData,
            this, &CLinkageManager::slotRefreshAccount);
    connect(utils::CManualSingletonT<CExchangeClient>::instance(),
            &CExchangeClient::sigNewTradingDate, this, &CLinkageManager::slotNewTradingDate);
    if (!m_bClientType3) return;
    CUserConfig& config = *getUserConfig();
    const boost::lock_guard<boost::recursive_mutex> configLock(config.m_mutex);
    m_pEngine->m_userDataConnection =
        config.m_sigUserDataChanged.connect(guarded([this] { requestAccounts(); }));
}

// What a picture does not have: it is the same for all of them.
void CLinkageManager::resume() {
    Strand strand;
    checkStart(thread(), strand);
    m_bInited = true;
    m_pEngine->setStrand(std::move(strand));
    if (m_options.guard) startGuard();
    makeTimers();
}

void CLinkageManager::makeTimers() {
    EngineState& engine = *m_pEngine;
    for (EngineState::Timer* timer :
         {&engine.m_extTimer, &engine.m_statTimer, &engine.m_autoBalanceTimer,
          &engine.m_historyStatTimer, &engine.m_balanceTimer, &engine.m_retryTimer,
          &engine.m_saveTimer, &engine.m_importTimer, &engine.m_recordTimer}) {
        *timer = boost::make_shared<utils::DeadlineTimer>(engine.m_strand->context());
    }
}

void CLinkageManager::startEngine() {
    if (m_options.guard) startGuard();
    post(LeftWork("loadTasks", {}));
    post(loadAccounts(ELoadCause::Request));
    if (m_pGuarded) post(LeftWork("endLoading", {}));

    makeTimers();
    runStatCalculator();
    runHistoryStatCalculator();
    if (m_pRecording) flushRecordingLater();
}

void CLinkageManager::post(boost::function<void()> work) {
    if (m_pEngine->hasStrand() && m_pEngine->m_inbox.push(std::string(), std::move(work)))
        drainLater();
}

void CLinkageManager::post(const LeftWork& what, Work work) {
    Work step = later(what, std::move(work));
    if (step) post(std::move(step));
}

void CLinkageManager::drainLater() {
    m_pEngine->m_strand->post(guarded([this] { drainInbox(); }));
}

// One batch, then the strand gets its turn again, so that timers are never starved by a
// storm of reports. The strand goes before whoever else wants the lock, and gives way now and then.
void CLinkageManager::drainInbox() {
    EngineState& engine = *m_pEngine;
    std::vector<InboxItem>& batch = engine.m_batch;
    if (!engine.m_inbox.take(batch)) return;
    CRecursiveMutex::CPrecedence precedence(m_mutex);
    for (std::size_t at = 0; at < batch.size();) {
        const std::size_t taken = takeReports(at);
        at += taken;
        // A handler may have released the manager; reports that still wait are then dropped.
        if (m_pDoor->isClosed()) return;
        if (taken == 0) {
            precedence.pause();
            handle(batch[at++]);
            precedence.resume();
        }
        engine.m_nInARow += std::max<std::size_t>(taken, 1);
        if (engine.m_nInARow < REPORTS_IN_A_ROW) continue;
        engine.m_nInARow = 0;
        precedence.giveWay();
    }
    batch.clear();
    drainLater();
}

// To take the lock for each report costs more than it seems: where others want it too, each of
// these is a hand-over between threads.
std::size_t CLinkageManager::takeReports(std::size_t from) {
    const std::vector<InboxItem>& batch = m_pEngine->m_batch;
    const std::size_t end = std::min(batch.size(), from + REPORTS_PER_HOLD);
    const CTapeSwitch::CVisit visit(tape());
    const CLock lock(m_mutex);
    std::size_t at = from;
    for (; at < end && !m_pDoor->isClosed(); ++at) {
        if (at % LOOK_AHEAD == 0) {
            prefetchRecords(batch, at + LOOK_AHEAD);
            m_pLedger->prefetch(reportsFrom(batch, at));
        }
        if (!takeHeld(batch[at])) break;
    }
    return at - from;
}

bool CLinkageManager::takeHeld(const InboxItem& item) {
    bool taken = true;
    if (const auto* order = std::get_if<OrderPtr>(&item.what)) {
        const CStep step(tape(), [&] { return OrderInput{item.accountKey, *order}; });
        finish(item, attempt(DRAIN, [&] { doOrderDetail(*item.accountKey, *order); }));
    } else if (const auto* deal = std::get_if<DealPtr>(&item.what)) {
        const CStep step(tape(), [&] { return DealInput{item.accountKey, *deal, true}; });
        const bool whole = attempt(DRAIN, [&] { taken = takeIfFeeKnown(*item.accountKey, *deal); });
        if (taken) finish(item, whole);
    } else {
        taken = false;
    }
    return taken;
}

void CLinkageManager::handle(InboxItem& item) {
    if (const auto* deal = std::get_if<DealPtr>(&item.what)) {
        const CStep step(tape(), [&] { return DealInput{item.accountKey, *deal, false}; });
        finish(item, attempt(DRAIN, [&] { doDealDetail(*item.accountKey, *deal); }));
    } else {
        finish(item, attempt(DRAIN, std::get<InboxItem::Work>(item.what)));
    }
}

// Where a service of the client threw, the reports behind this one must not be lost.
void CLinkageManager::finish(const InboxItem& item, bool whole) {
    if (!whole && !item.accountKey->empty()) loadLater(*item.accountKey);
    if (m_options.guard) settleBalances();
}

void CLinkageManager::retire() {
    m_pDoor->close(shared_from_this());
    stopRecording();
    finishSaves();
}

CLinkageManager::~CLinkageManager() {
    // A manager that is destroyed without release() stops in the same order.
    m_pDoor->close({});
    CLinkageManager::stopRecording();
    // A handler that released the manager may have asked for a save afterwards.
    CLinkageManager::finishSaves();
    CLock lock(m_mutex);
    QObject::disconnect(this, nullptr, nullptr, nullptr);
    EngineState& engine = *m_pEngine;
    m_pAccounts->disconnectAll();
    m_pAccounts->m_infos.clear();
    if (engine.m_userDataConnection.connected()) {
        const boost::lock_guard<boost::recursive_mutex> configLock(getUserConfig()->m_mutex);
        engine.m_userDataConnection.disconnect();
    }
    m_pLedger.reset();
    m_pQuotes.reset();
    engine.m_taskConnection.reset();
    for (const EngineState::Timer& timer :
         {engine.m_extTimer, engine.m_statTimer, engine.m_historyStatTimer, engine.m_retryTimer,
          engine.m_saveTimer, engine.m_recordTimer}) {
        if (timer) timer->cancel();
    }
    // The two balancing timers are destroyed with the members. A balance that was asked for is
    // not cancelled here: its handler finds the door closed.
    lock.unlock();
}

ManagerState CLinkageManager::state() const {
    const CLock lock(m_mutex);
    ManagerState state;
    state.tradeDate = m_pTradeDate->get();
    state.userData = m_strUserData;
    for (const auto& [key, account] : m_pAccounts->m_infos) state.accounts[key] = account;
    m_pLedger->describe(state);
    m_pQuotes->describe(state);
    describeBalances(state);
    describeHistory(state);
    return state;
}

std::vector<std::string> CLinkageManager::checkIntegrity() const {
    const CLock lock(m_mutex);
    return m_pLedger->checkIntegrity();
}

}  // namespace TC

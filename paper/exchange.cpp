#include "paper/exchange.h"

#include "paper/orderrules.h"
#include "platform/utils/clock.h"
#include "platform/utils/keys.h"

#include <QDateTime>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace paper {

using namespace vexservice;

namespace {

constexpr int CANCEL_SECONDS = 1;

std::string timeOfDay() {
    const auto now = QDateTime::fromMSecsSinceEpoch(utils::currentClock().nowMicros() / 1000);
    return now.toString(QStringLiteral("hhmmss")).toStdString();
}

EEntrustStatus cancelledStatus(const COrderDetail& order) {
    return order.m_nTradedVolume > 0 ? STATUS_PART_CANCEL : STATUS_CANCELED;
}

}  // namespace

CExchange::CExchange(const Services& services)
    : m_services(services),
      m_pOutbox(std::make_shared<COutbox>(services.service, services.dataCenter)),
      m_tasks(services.service, *this) {}

// ------------------------------------------------------------------- from outside

std::uint64_t CExchange::submit(const OrderRequest& request) {
    const std::lock_guard lock(m_mutex);
    const std::uint64_t key = place(request);
    tellTasks();
    return key;
}

void CExchange::rejectNext(const std::string& accountKey, int times) {
    const std::lock_guard lock(m_mutex);
    m_rejects[accountKey] = times;
}

bool CExchange::takesReject(const std::string& accountKey) {
    const auto left = m_rejects.find(accountKey);
    if (left == m_rejects.end()) return false;
    if (--left->second <= 0) m_rejects.erase(left);
    return true;
}

void CExchange::beSilent(double seconds) {
    const std::lock_guard lock(m_mutex);
    ++m_nSilences;
    const auto timer = std::make_shared<utils::DeadlineTimer>(m_services.service);
    timer->expires_from_now(boost::posix_time::microseconds(std::llround(seconds * 1e6)));
    timer->async_wait([weak = weak_from_this(), timer](const boost::system::error_code& error) {
        const auto self = weak.lock();
        if (error || !self) return;
        const std::lock_guard inside(self->m_mutex);
        self->endSilence();
    });
}

void CExchange::endSilence() {
    if (--m_nSilences > 0) return;
    std::vector<std::function<void()>> held;
    held.swap(m_held);
    for (const auto& each : held) each();
    tellTasks();
}

void CExchange::cancel(const std::string& accountKey, std::uint64_t orderKey) {
    const std::lock_guard lock(m_mutex);
    cancelSoon(accountKey, orderKey);
}

void CExchange::quote(const std::string& stockKey, const CPriceData& price) {
    const std::lock_guard lock(m_mutex);
    Stock& stock = m_stocks[stockKey];
    stock.book.quote(price);
    std::vector<std::uint64_t> oldestFirst;
    for (const auto& [key, order] : stock.working) oldestFirst.push_back(key);
    for (const std::uint64_t key : oldestFirst) match(stock, key);
    tellTasks();
}

void CExchange::startTask(const TaskRequest& request) {
    const std::lock_guard lock(m_mutex);
    TaskRequest task = request;
    const auto account = m_services.dataCenter->account(request.account);
    if (!account) return;
    task.info = account->getAccountInfo();
    task.user = m_services.taskUser;
    task.tradeDate = m_services.dataCenter->getTradingDate();
    while (m_services.dataCenter->globalData().find(DATA_TASK, ++m_nLastTask)) {
    }
    m_tasks.start(task, m_nLastTask);
    tellTasks();
}

void CExchange::terminate(std::uint64_t taskKey) {
    const std::lock_guard lock(m_mutex);
    if (m_tasks.terminate(taskKey)) return;
    const auto known = boost::static_pointer_cast<CTaskDetail>(
        m_services.dataCenter->globalData().find(DATA_TASK, taskKey));
    if (!known || known->m_eStatus >= TASK_COMPLETED) return;
    auto ended = boost::make_shared<CTaskDetail>(*known);
    ended->m_eStatus = TASK_CANCELED;
    reportTask(ended);
}

void CExchange::beginTradingDate() {
    const std::lock_guard lock(m_mutex);
    for (auto& [key, stock] : m_stocks) stock.working.clear();
    m_issued.clear();
    m_held.clear();
    m_changes.clear();
    m_tasks.forgetAll();
}

// ----------------------------------------------------------------------- matching

std::string CExchange::faultOf(const OrderRequest& request) const {
    if (request.volume <= 0 || request.volume > std::numeric_limits<int>::max()) {
        return "no such volume";
    }
    const Price price = toPrice(request.price);
    if (price <= 0) return isRealMarketPrice(request.priceType) ? "" : "no price";
    const auto known =
        m_services.instruments->find(utils::zorStockKey(request.market, request.code));
    if (!known) return "";
    const Price up = toPrice(known->limitUp);
    const Price down = toPrice(known->limitDown);
    if (up > 0 && price > up) return "above limit-up";
    return down > 0 && price < down ? "below limit-down" : "";
}

CExchange::Order CExchange::makeOrder(const OrderRequest& request, std::uint64_t key) const {
    auto detail = boost::make_shared<COrderDetail>();
    detail->m_nRecordKey = key;
    detail->m_eDirection = request.buys ? ENTRUST_BUY : ENTRUST_SELL;
    detail->m_nVolume = static_cast<int>(
        std::clamp<std::int64_t>(request.volume, 0, std::numeric_limits<int>::max()));
    detail->m_dPrice = request.price;
    detail->m_strMarket = request.market;
    detail->m_strCode = request.code;
    detail->m_strTradeDate = m_services.dataCenter->getTradingDate();
    if (const auto data = m_services.dataCenter->account(request.account)) {
        detail->m_pAccountInfo = data->getAccountInfo();
    }
    if (!request.strategy.empty() || !request.strategy2.empty() || !request.tag.empty() ||
        request.command != 0) {
        auto carrier = boost::make_shared<CCommandRecord>();
        carrier->m_strUser = m_services.user;
        carrier->m_strTradeDate = detail->m_strTradeDate;
        carrier->m_strStrategyName = request.strategy;
        carrier->m_strStrategyName2 = request.strategy2;
        carrier->m_strTag = request.tag;
        carrier->m_nCommand = request.command;
        detail->m_pCommand = carrier;
    }
    Order order;
    order.account = request.account;
    order.report = detail;
    order.buys = request.buys;
    if (toPrice(request.price) > 0) order.limit = toPrice(request.price);
    order.task = request.task;
    return order;
}

std::uint64_t CExchange::place(const OrderRequest& request) {
    const std::uint64_t key = nextKey(request.account, DATA_ORDER, m_nLastOrder);
    if (isSilent()) {
        m_held.push_back([this, request, key] { enter(request, key); });
    } else {
        enter(request, key);
    }
    return key;
}

void CExchange::enter(const OrderRequest& request, std::uint64_t key) {
    const std::string stockKey = utils::zorStockKey(request.market, request.code);
    Stock& stock = m_stocks[stockKey];
    m_issued[key] = {request.account, stockKey};
    Order& order = stock.working.emplace(key, makeOrder(request, key)).first->second;
    report(order, STATUS_WAIT_REPORTING, 0);
    report(order, STATUS_REPORTED, 0);
    const std::string fault =
        takesReject(request.account) ? "the broker rejects it" : faultOf(request);
    if (!fault.empty()) {
        reject(stock, key, fault);
        return;
    }
    const bool atMarket = !order.limit;
    match(stock, key);
    const auto left = stock.working.find(key);
    if (atMarket && left != stock.working.end()) {
        finish(stock, key, cancelledStatus(*left->second.report));
    }
}

void CExchange::match(Stock& stock, std::uint64_t key) {
    const auto at = stock.working.find(key);
    if (at == stock.working.end()) return;
    Order& order = at->second;
    const int open = order.report->m_nVolume - order.report->m_nTradedVolume;
    for (const Fill& each : stock.book.take(order.buys, order.limit, open)) fill(order, each);
    if (order.report->m_eStatus == STATUS_SUCCEEDED) stock.working.erase(at);
}

void CExchange::fill(Order& order, const Fill& fill) {
    order.amount += fill.amount();
    reportDeal(order, fill);
    const int traded = order.report->m_nTradedVolume + fill.volume;
    const bool complete = traded == order.report->m_nVolume;
    report(order, complete ? STATUS_SUCCEEDED : STATUS_PART_SUCC, traded);
}

void CExchange::finish(Stock& stock, std::uint64_t key, EEntrustStatus status) {
    const auto at = stock.working.find(key);
    report(at->second, status, at->second.report->m_nTradedVolume);
    stock.working.erase(at);
}

void CExchange::reject(Stock& stock, std::uint64_t key, const std::string& why) {
    Order& order = stock.working.at(key);
    auto told = boost::make_shared<COrderDetail>(*order.report);
    told->m_strRemark = why;
    order.report = told;
    finish(stock, key, STATUS_JUNK);
}

// ------------------------------------------------------------------------ reports

void CExchange::report(Order& order, EEntrustStatus status, int traded) {
    auto next = boost::make_shared<COrderDetail>(*order.report);
    const int tradedMore = traded - next->m_nTradedVolume;
    next->m_eStatus = status;
    next->m_nTradedVolume = traded;
    next->m_dTradedAmount = toYuan(order.amount);
    if (status != STATUS_WAIT_REPORTING) next->m_strSysID = next->getKey();
    order.report = next;
    m_pOutbox->add(order.account, DATA_ORDER, next);
    if (order.task != 0) m_changes.push_back({order.task, tradedMore, status});
}

void CExchange::reportDeal(const Order& order, const Fill& fill) {
    auto deal = boost::make_shared<CDealDetail>();
    deal->m_nRecordKey = nextKey(order.account, DATA_DEAL, m_nLastDeal);
    deal->m_eDirection = order.report->m_eDirection;
    deal->m_nVolume = fill.volume;
    deal->m_dPrice = toYuan(fill.price);
    deal->m_dAmount = toYuan(fill.amount());
    deal->m_strMarket = order.report->m_strMarket;
    deal->m_strCode = order.report->m_strCode;
    deal->m_strTradeDate = order.report->m_strTradeDate;
    deal->m_strTradeTime = timeOfDay();
    deal->m_strDealID = deal->getKey();
    deal->m_pAccountInfo = order.report->m_pAccountInfo;
    deal->m_pCommand = order.report->m_pCommand;
    deal->m_nOrderKey = order.report->recordKey();
    m_pOutbox->add(order.account, DATA_DEAL, deal);
}

void CExchange::reportTask(const boost::shared_ptr<CTaskDetail>& task) {
    m_pOutbox->add(std::string(), DATA_TASK, task);
}

std::uint64_t CExchange::nextKey(const std::string& accountKey, int type,
                                 std::uint64_t& last) const {
    const auto data = m_services.dataCenter->account(accountKey);
    do {
        ++last;
    } while (data && data->find(type, last));
    return last;
}

// -------------------------------------------------------------------- cancellation

void CExchange::cancelSoon(const std::string& accountKey, std::uint64_t orderKey) {
    const auto timer = std::make_shared<utils::DeadlineTimer>(m_services.service);
    timer->expires_from_now(boost::posix_time::seconds(CANCEL_SECONDS));
    timer->async_wait([weak = weak_from_this(), timer, accountKey,
                       orderKey](const boost::system::error_code& error) {
        const auto self = weak.lock();
        if (error || !self) return;
        const std::lock_guard lock(self->m_mutex);
        self->cancelNow(accountKey, orderKey);
        self->tellTasks();
    });
}

void CExchange::cancelNow(const std::string& accountKey, std::uint64_t orderKey) {
    if (isSilent()) {
        m_held.push_back([this, accountKey, orderKey] { cancelNow(accountKey, orderKey); });
        return;
    }
    if (accountKey.empty()) {
        const std::string owner = ownerOf(orderKey);
        if (!owner.empty()) cancelNow(owner, orderKey);
        return;
    }
    const auto issued = m_issued.find(orderKey);
    if (issued == m_issued.end() || issued->second.account != accountKey) {
        cancelForeign(accountKey, orderKey);
        return;
    }
    Stock& stock = m_stocks[issued->second.stock];
    const auto at = stock.working.find(orderKey);
    if (at == stock.working.end()) return;
    finish(stock, orderKey, cancelledStatus(*at->second.report));
}

/// The account that has a running order of this key without account info; "" for none.
std::string CExchange::ownerOf(std::uint64_t orderKey) const {
    for (const std::string& key : m_services.dataCenter->accountKeys()) {
        const auto known = boost::static_pointer_cast<COrderDetail>(
            m_services.dataCenter->account(key)->find(DATA_ORDER, orderKey));
        if (known && !known->m_pAccountInfo && isRunningStatus(known->m_eStatus)) return key;
    }
    return {};
}

void CExchange::cancelForeign(const std::string& accountKey, std::uint64_t orderKey) {
    const auto data = m_services.dataCenter->account(accountKey);
    if (!data) return;
    const auto known = boost::static_pointer_cast<COrderDetail>(data->find(DATA_ORDER, orderKey));
    if (!known || !isRunningStatus(known->m_eStatus)) return;
    auto cancelled = boost::make_shared<COrderDetail>(*known);
    cancelled->m_eStatus = cancelledStatus(*known);
    m_pOutbox->add(accountKey, DATA_ORDER, cancelled);
}

// -------------------------------------------------------------------------- tasks

void CExchange::tellTasks() {
    while (!m_changes.empty()) {
        const Change change = m_changes.front();
        m_changes.pop_front();
        m_tasks.onSlice(change.task, change.volume, change.status);
    }
}

double CExchange::slicePrice(const OrderRequest& request) const {
    const auto quote = m_services.quotes->price(utils::zorStockKey(request.market, request.code));
    return priceByType(quote.get(), request.priceType, request.buys, 0.0);
}

void CExchange::wakeTask(utils::DeadlineTimer& timer, std::uint64_t taskKey) {
    timer.async_wait([weak = weak_from_this(), taskKey](const boost::system::error_code& error) {
        const auto self = weak.lock();
        if (error || !self) return;
        const std::lock_guard lock(self->m_mutex);
        self->m_tasks.onTime(taskKey);
        self->tellTasks();
    });
}

}  // namespace paper

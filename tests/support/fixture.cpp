#include "tests/support/fixture.h"

#include "platform/log.h"
#include "platform/services/clientconfig.h"
#include "platform/utils/text.h"

#include <fmt/format.h>

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <boost/make_shared.hpp>

#include <cstdlib>
#include <stdexcept>

namespace tests {

using namespace vexservice;

namespace {

using Manager = utils::CSingletonT<TC::CLinkageManager>;

QDateTime local(const std::string& text) {
    const auto time =
        QDateTime::fromString(Pim::sToQs(text), QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    if (!time.isValid()) throw std::invalid_argument("no time: " + text);
    return time;
}

std::int64_t micros(const std::string& text) { return local(text).toMSecsSinceEpoch() * 1000; }

QDateTime current() {
    return QDateTime::fromMSecsSinceEpoch(utils::currentClock().nowMicros() / 1000);
}

std::string marketOf(const std::string& stock) { return stock.substr(0, 2); }
std::string codeOf(const std::string& stock) { return stock.substr(2); }

template <class Described>
void nameStrategies(CCommandRecord& record, const Described& by) {
    record.m_strStrategyName = by.strategy;
    record.m_strStrategyName2 = by.strategy2;
    record.m_strTag = by.tag;
}

std::vector<CPriceLevel> levelsOf(const std::vector<std::pair<double, long long>>& side) {
    std::vector<CPriceLevel> levels;
    for (const auto& [price, volume] : side) levels.push_back({price, volume});
    return levels;
}

}  // namespace

Fixture::Fixture(Settings settings) : m_settings(std::move(settings)) {
    ::setenv("TZ", "Asia/Shanghai", 1);
    ::tzset();
    if (m_settings.tradeDate.empty()) {
        m_settings.tradeDate =
            local(m_settings.now).toString(QStringLiteral("yyyyMMdd")).toStdString();
    }
    m_pLoop = std::make_unique<paper::CVirtualLoop>(micros(m_settings.now));
    m_pLoop->setSettle([] {
        if (Manager::exists()) Manager::instance()->finishSaves();
        return false;
    });
    g_VexStdLogger.setReceiver([this](const CVexLogger::Line& line) {
        const std::lock_guard lock(m_seenMutex);
        m_seen.log.push_back({now(), std::string(line.operation), std::string(line.message)});
    });
    paper::ClientConfig config;
    config.clientType = m_settings.clientType;
    config.tradeDate = m_settings.tradeDate;
    config.userName = m_settings.userName;
    config.limitPercent = m_settings.limitPercent;
    config.limitPercentST = m_settings.limitPercentST;
    config.registRules = m_settings.registRules;
    config.executes = m_settings.executes;
    config.scheduler = m_settings.scheduler;
    config.dataDir = m_directory.path();
    config.fileEncoding = m_settings.fileEncoding;
    m_pClient = std::make_unique<paper::CPaperClient>(m_pLoop->service(), config,
                                                      static_cast<paper::IClientObserver*>(this));
}

Fixture::~Fixture() {
    release();
    m_pClient.reset();
    m_pLoop.reset();
    g_VexStdLogger.setReceiver({});
}

// ----------------------------------------------------------------- reference data

void Fixture::instrument(const Stock& stock) {
    paper::Instrument instrument;
    instrument.market = marketOf(stock.stock);
    instrument.code = codeOf(stock.stock);
    instrument.name = stock.name;
    instrument.tick = stock.tick;
    instrument.reference = stock.reference;
    instrument.limitUp = stock.limitUp;
    instrument.limitDown = stock.limitDown;
    instrument.unit = stock.unit;
    instrument.types = stock.types;
    instrument.detail = stock.detail;
    m_pClient->setInstrument(instrument);
    settle();
}

void Fixture::account(paper::Account account) {
    if (account.id.empty()) account.id = account.key;
    m_pClient->setAccount(account);
    settle();
}

void Fixture::tradeSetting(int block, EPriceType priceType, double price) {
    m_pClient->setTradeSetting(block, priceType, price);
}

// -------------------------------------------------------------------- the manager

void Fixture::create() {
    watch(*Manager::instance());
    const TC::LinkageOptions& options = m_settings.options;
    if (options.guard || options.filedTotals || options.keepDays > 0)
        Manager::instance()->setOptions(options);
    settle();
}

void Fixture::init() {
    create();
    Manager::instance()->init();
    settle();
}

void Fixture::release() {
    Manager::release();
    m_pWatched = nullptr;
    settle();
}

bool Fixture::hasManager() const { return Manager::exists(); }

TC::CLinkageManager& Fixture::manager() {
    if (!hasManager()) create();
    return *Manager::instance();
}

void Fixture::watch(TC::CLinkageManager& manager) {
    if (m_pWatched == &manager) return;
    m_pWatched = &manager;
    manager.sigStocksChanged.connect([this] { saw("stocksChanged"); });
    manager.sigStrategysChanged.connect([this] { saw("strategysChanged"); });
    manager.sigStatDataChanged.connect([this] { saw("statDataChanged"); });
    manager.sigHistoryCleared.connect([this] { saw("historyCleared"); });
    manager.sigBalanceChanged.connect(
        [this](int number) { saw("balanceChanged", {std::to_string(number)}); });
    manager.m_sigNewTradingDay.connect(
        [this](const std::string& date) { saw("newTradingDay", {date}); });
    manager.sigProfitChanged.connect(
        [this](const std::string& account, const std::string& strategy, double profit) {
            saw("profitChanged", {account, strategy, fmt::format("{}", profit)});
        });
    const auto direct = Qt::DirectConnection;
    QObject::connect(
        &manager, &TC::CLinkageManager::sigCancelTask, &manager,
        [this](int number, const QString& text) {
            saw("cancelTask", {std::to_string(number), text.toStdString()});
        },
        direct);
    const auto watchDone = [&](auto signal, const char* name) {
        QObject::connect(
            &manager, signal, &manager,
            [this, name](const QDateTime& day, const std::string& account) {
                saw(name, {day.toString(QStringLiteral("yyyyMMdd")).toStdString(), account});
            },
            direct);
    };
    watchDone(&TC::CLinkageManager::sigHistoryDealsDone, "historyDealsDone");
    watchDone(&TC::CLinkageManager::sigHistoryOrdersDone, "historyOrdersDone");
}

// ------------------------------------------------------------- reports and quotes

/// What orders and deals have in common.
template <class Record, class Described>
boost::shared_ptr<Record> Fixture::described(const Described& by) const {
    auto record = boost::make_shared<Record>();
    record->m_nRecordKey = by.key;
    record->m_eDirection = by.side == Side::Buy ? ENTRUST_BUY : ENTRUST_SELL;
    record->m_nVolume = by.volume;
    record->m_dPrice = by.price;
    record->m_strMarket = marketOf(by.stock);
    record->m_strCode = codeOf(by.stock);
    record->m_strTradeDate = by.tradeDate.empty() ? m_pClient->tradeDate() : by.tradeDate;
    record->m_pAccountInfo = m_pClient->accountInfo(by.account);
    if (!by.strategy.empty() || !by.strategy2.empty() || !by.tag.empty() || by.command != 0) {
        record->m_pCommand = boost::make_shared<CCommandRecord>();
        nameStrategies(*record->m_pCommand, by);
        record->m_pCommand->m_nCommand = by.command;
    }
    return record;
}

boost::shared_ptr<COrderDetail> Fixture::makeOrder(const Order& order) const {
    const auto detail = described<COrderDetail>(order);
    detail->m_eStatus = static_cast<EEntrustStatus>(order.status);
    detail->m_nTradedVolume = order.traded;
    detail->m_dTradedAmount = order.amount.value_or(order.price * order.traded);
    detail->m_strSysID = order.sysId;
    return detail;
}

boost::shared_ptr<CDealDetail> Fixture::makeDeal(const Deal& deal) const {
    const auto detail = described<CDealDetail>(deal);
    detail->m_dAmount = deal.amount.value_or(deal.price * deal.volume);
    detail->m_strTradeTime =
        deal.time.value_or(current().toString(QStringLiteral("hhmmss")).toStdString());
    detail->m_strDealID = deal.dealId.empty() ? std::to_string(deal.key) : deal.dealId;
    detail->m_nOrderKey = deal.order;
    return detail;
}

boost::shared_ptr<CTaskDetail> Fixture::makeTask(const Task& task) const {
    auto detail = boost::make_shared<CTaskDetail>();
    detail->m_nRecordKey = task.key;
    detail->m_eStatus = static_cast<ETaskStatus>(task.status);
    detail->m_bServerTask = task.server;
    for (const TaskItem& each : task.items) {
        auto item = boost::make_shared<CTaskItem>();
        item->m_strMarket = marketOf(each.stock);
        item->m_strCode = codeOf(each.stock);
        item->m_nVolume = each.volume;
        item->m_nTradedVolume = each.traded;
        item->m_pAccountInfo =
            m_pClient->accountInfo(each.account.empty() ? task.account : each.account);
        detail->m_items.push_back(item);
    }
    if (task.command) {
        const bool userless = m_settings.clientType == TC::CLIENT_TYPE_3;
        auto command = boost::make_shared<CCommandRecord>();
        command->m_strUser = task.user.value_or(userless ? std::string() : m_settings.userName);
        command->m_nKind = task.kind;
        command->m_strTradeDate = task.tradeDate.empty() ? m_pClient->tradeDate() : task.tradeDate;
        nameStrategies(*command, task);
        detail->m_pCommand = command;
    }
    return detail;
}

void Fixture::order(const Order& order) {
    m_pClient->report(order.account, makeOrder(order), order.push);
    settle();
}

void Fixture::deal(const Deal& deal) {
    m_pClient->report(deal.account, makeDeal(deal), deal.push);
    settle();
}

void Fixture::task(const Task& task) {
    m_pClient->report(makeTask(task), task.push);
    settle();
}

void Fixture::position(const Position& position) {
    auto detail = boost::make_shared<CPositionStatics>();
    detail->m_nRecordKey = position.key;
    detail->m_strMarket = marketOf(position.stock);
    detail->m_strCode = codeOf(position.stock);
    detail->m_nVolume = position.volume;
    detail->m_nAvailable = position.available;
    detail->m_dCost = position.cost;
    detail->m_pAccountInfo = m_pClient->accountInfo(position.account);
    m_pClient->report(position.account, detail, position.push);
    settle();
}

void Fixture::price(const Quote& quote) {
    auto data = boost::make_shared<CPriceData>();
    data->m_strStockKey = quote.stock;
    data->m_dLastPrice = quote.last.value_or(CPriceData::UNKNOWN);
    data->m_asks = levelsOf(quote.asks);
    data->m_bids = levelsOf(quote.bids);
    m_pClient->setPrice(quote.stock, data, quote.push);
    settle();
}

void Fixture::bars(const std::string& stock, const std::string& day,
                   const std::vector<std::pair<std::string, double>>& closes) {
    std::vector<TC::CMinuteBar> bars;
    for (const auto& [time, close] : closes) {
        bars.push_back({std::stoi(time.substr(0, 2)) * 60 + std::stoi(time.substr(2)), close});
    }
    m_pClient->setBars(stock, day, bars);
    settle();
}

// ------------------------------------------------- announcements, paper exchange

void Fixture::newTradingDate(const std::string& date, const std::string& signalDate) {
    m_pClient->newTradingDate(date, signalDate.empty() ? date : signalDate);
    settle();
}

void Fixture::login(bool ok) {
    m_pClient->login(ok, QString());
    settle();
}

void Fixture::accountReady(const std::string& accountKey) {
    m_pClient->accountReady(accountKey);
    settle();
}

void Fixture::userDataChanged() {
    m_pClient->userDataChanged();
    settle();
}

void Fixture::send(const Order& order) {
    m_pClient->send({.account = order.account,
                     .market = marketOf(order.stock),
                     .code = codeOf(order.stock),
                     .buys = order.side == Side::Buy,
                     .volume = order.volume,
                     .price = order.price,
                     .strategy = order.strategy});
    settle();
}

// --------------------------------------------------------------------------- time

void Fixture::advance(double seconds) { m_pLoop->advanceSeconds(seconds); }

void Fixture::advanceTo(const std::string& time) {
    const std::string day = current().toString(QStringLiteral("yyyy-MM-dd ")).toStdString();
    m_pLoop->advanceTo(micros(time.size() > 8 ? time : day + time));
}

void Fixture::settle() { m_pLoop->runToRest(); }

std::string Fixture::now() const {
    return current().toString(QStringLiteral("hh:mm:ss.zzz")).toStdString();
}

int Fixture::day(const std::string& date) {
    const auto midnight = QDateTime::fromString(Pim::sToQs(date), QStringLiteral("yyyyMMdd"));
    return static_cast<int>(midnight.toSecsSinceEpoch());
}

// -------------------------------------------------------------------------- files

void Fixture::writeFile(const std::string& name, const std::string& text) {
    QDir(dataDir()).mkpath(QStringLiteral("Balance"));
    QFile file(dataDir() + QStringLiteral("/Balance/") + Pim::sToQs(name));
    const auto size = static_cast<qint64>(text.size());
    if (!file.open(QIODevice::WriteOnly) || file.write(text.data(), size) != size) {
        throw std::runtime_error("cannot write " + name);
    }
}

std::optional<std::string> Fixture::file(const std::string& name) const {
    QFile file(dataDir() + QStringLiteral("/Balance/") + Pim::sToQs(name));
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    return file.readAll().toStdString();
}

// ------------------------------------------------------------------- what was seen

void Fixture::saw(const std::string& name, std::vector<std::string> args) {
    const std::lock_guard lock(m_seenMutex);
    m_seen.signals.push_back({now(), name, std::move(args)});
}

void Fixture::onCancelOrder(const COrderDetail& order) {
    noteRequest([&] { m_seen.cancels.push_back({now(), order.recordKey()}); });
}

void Fixture::onOperateTask(std::uint64_t taskKey, bool server, const CTaskOpRecord& record) {
    noteRequest([&] { m_seen.operations.push_back({now(), taskKey, server, record}); });
}

void Fixture::onCommand(const COrderComandParam& command, int) {
    noteRequest([&] { m_seen.commands.push_back({now(), command}); });
}

void Fixture::noteRequest(const std::function<void()>& note) {
    {
        const std::lock_guard lock(m_seenMutex);
        note();
    }
    if (onRequest) onRequest();
}

void Fixture::forget() {
    const std::lock_guard lock(m_seenMutex);
    m_seen = {};
}

}  // namespace tests

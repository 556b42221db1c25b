#include "bench/programs.h"

#include "replay/manageraccess.h"

#include <boost/make_shared.hpp>

#include <QDateTime>

#include <future>
#include <stdexcept>
#include <utility>

namespace bench {

using Manager = utils::CSingletonT<TC::CLinkageManager>;

namespace {

std::int64_t morningOf(const std::string& date) {
    const QDateTime midnight = QDateTime::fromString(QString::fromStdString(date), "yyyyMMdd");
    return (midnight.toSecsSinceEpoch() + 9 * 3600) * 1'000'000;
}

}  // namespace

CWorld::CWorld(const Workload& workload, Time time) {
    paper::ClientConfig config;
    config.tradeDate = workload.tradeDate;
    config.dataDir = m_directory.path();
    if (time == Time::Standing) {
        m_standing.emplace(morningOf(workload.tradeDate));
    } else {
        m_real.emplace(1);
    }
    auto& service = m_standing ? m_standing->service() : m_real->service();
    m_pClient = std::make_unique<paper::CPaperClient>(service, config);
    for (const auto& stock : workload.stocks) m_pClient->setInstrument(stock);
    for (const auto& account : workload.accounts) m_pClient->setAccount(account);
    for (std::size_t stock = 0; stock < workload.stocks.size(); ++stock) {
        auto price = boost::make_shared<vexservice::CPriceData>();
        price->m_strStockKey = workload.stockKeys[stock];
        price->m_dLastPrice = workload.prices[stock];
        m_pClient->setPrice(workload.stockKeys[stock], price, false);
    }
}

void CWorld::beginDay(const std::string& tradeDate) {
    constexpr double ONE_PASS = 3.0;
    m_standing->advanceSeconds(ONE_PASS);
    m_pClient->newTradingDate(tradeDate, tradeDate);
    m_standing->runToRest();
}

TC::LinkageOptions& libraryOptions() {
    static TC::LinkageOptions options;
    return options;
}

CLibraryProgram::CLibraryProgram(const Workload& workload, CWorld::Time time,
                                 const TC::LinkageOptions& options, const QString& recording)
    : m_workload(workload), m_world(workload, time), m_pManager(Manager::instance()) {
    m_pManager->setOptions(options);
    if (!recording.isEmpty() && !m_pManager->startRecording(recording)) {
        throw std::runtime_error(recording.toStdString() + " cannot be recorded");
    }
    m_pManager->init();
    m_world.runToRest();
    if (time == CWorld::Time::Real) waitApplied();
}

CLibraryProgram::~CLibraryProgram() { Manager::release(); }

void CLibraryProgram::order(std::uint32_t, const Report& report) {
    TC::ManagerAccess::doOrderDetail(*m_pManager, m_workload.accounts[report.account].key,
                                     report.order);
}

void CLibraryProgram::deal(std::uint32_t, const Report& report) {
    TC::ManagerAccess::doDealDetail(*m_pManager, m_workload.accounts[report.account].key,
                                    report.deal);
}

void CLibraryProgram::callback(const Report& report) {
    const std::string& account = m_workload.accounts[report.account].key;
    if (report.order) {
        TC::ManagerAccess::onOrderDetail(*m_pManager, account, report.order);
    } else {
        TC::ManagerAccess::onDealDetail(*m_pManager, account, report.deal);
    }
}

void CLibraryProgram::post(boost::function<void()> work) {
    TC::ManagerAccess::post(*m_pManager, std::move(work));
}

void CLibraryProgram::waitApplied() {
    std::promise<void> applied;
    post([&applied] { applied.set_value(); });
    applied.get_future().wait();
}

void CLibraryProgram::price(std::uint32_t stock, double last) {
    auto price = boost::make_shared<vexservice::CPriceData>();
    price->m_strStockKey = m_workload.stockKeys[stock];
    price->m_dLastPrice = last;
    TC::ManagerAccess::onPriceData(*m_pManager, price->m_strStockKey, price);
}

void CLibraryProgram::runCalculator() { TC::ManagerAccess::runStatCalculator(*m_pManager); }

}  // namespace bench

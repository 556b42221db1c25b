#include "desk/picturetaker.h"

#include "desk/market.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/managerstate.h"
#include "linkage/ledger/profitrule.h"
#include "linkage/ledger/types.h"
#include "platform/services/clientconfig.h"

#include <atomic>
#include <cmath>
#include <set>
#include <tuple>
#include <utility>

namespace desk {

struct StatFlag {
    std::atomic<bool> changed{true};
};

namespace {

using Manager = utils::CSingletonT<TC::CLinkageManager>;

/// Account and strategy of a history key, which is the account key followed by the strategy.
std::pair<std::string, std::string> pairOf(const std::string& key, const Picture& picture) {
    std::string account;
    for (const PairRow& pair : picture.pairs) {
        if (key.starts_with(pair.account) && pair.account.size() > account.size())
            account = pair.account;
    }
    return {account, key.substr(account.size())};
}

/// The newest point of the curve was valued at the end of its minute's last pass, the table now.
/// On the screen they are one figure.
void agree(Picture& picture) {
    if (picture.curve.empty()) return;
    for (const PairRow& pair : picture.pairs) {
        if (pair.account == picture.selection.account &&
            pair.strategy == picture.selection.strategy)
            picture.curve.rbegin()->second.profit = pair.profit;
    }
}

double bestOf(const std::vector<vexservice::CPriceLevel>& book) {
    return book.empty() ? 0.0 : book.front().m_dPrice;
}

/// What the market says of a stock: where its price stands and between which two it could trade.
void takeMarket(StockRow& row) {
    const auto price = priceOf(row.stock);
    if (price && price->hasLastPrice()) row.lastPrice = price->m_dLastPrice;
    if (price) {
        row.bid = bestOf(price->m_bids);
        row.ask = bestOf(price->m_asks);
    }
    const auto detail = detailOf(row.stock);
    if (!detail) return;
    row.name = detail->m_strName;
    row.referencePrice = detail->m_dReferencePrice;
    const auto isAt = [&row](double limit) {
        return limit > 0.0 && std::fabs(limit - row.lastPrice) <= TC::LIMIT_TOLERANCE;
    };
    row.limit = int(isAt(detail->m_dLimitUp)) - int(isAt(detail->m_dLimitDown));
}

/// The strategies that have anything today, a balance time, or history.
std::set<std::string> strategiesOf(TC::CLinkageManager& manager, const Picture& picture) {
    std::set<std::string> strategies = manager.getStrategys();
    strategies.insert(std::string());
    for (const auto& [key, time] : picture.balanceTimes) {
        const std::size_t colon = key.find(':');
        if (colon != std::string::npos) strategies.insert(key.substr(colon + 1));
    }
    for (const auto& [key, stat] : manager.getHistoryStatData())
        strategies.insert(stat.m_strStrategy);
    return strategies;
}

}  // namespace

std::optional<int> minuteOf(const std::string& time) {
    // Called for each deal of each picture, so no parser of Qt's.
    if (time.size() != 6) return std::nullopt;
    int parts[3] = {};
    for (std::size_t i = 0; i < time.size(); ++i) {
        if (time[i] < '0' || time[i] > '9') return std::nullopt;
        parts[i / 2] = parts[i / 2] * 10 + (time[i] - '0');
    }
    const auto [hour, minute, second] = parts;
    if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return hour * 60 + minute;
}

void startCurves(TC::CLinkageManager& manager) {
    manager.startProfitCalculator();
    manager.startBalanceCalculator();
}

/// Of a recording the library is only asked: whatever changed it would make it another one.
void CPictureTaker::followManager(TC::CLinkageManager& manager, bool recorded) {
    if (m_statConnection.connected()) return;
    m_bClientType3 =
        utils::CSingletonT<TC::CAppConfig>::instance()->isClientType(TC::CLIENT_TYPE_3);
    m_pStatChanged = std::make_shared<StatFlag>();
    m_statConnection = manager.sigStatDataChanged.connect(
        [flag = m_pStatChanged] { flag->changed.store(true, std::memory_order_relaxed); });
    if (!recorded) startCurves(manager);
    m_events.follow(manager);
    m_witness.balances.follow(manager);
    for (const auto& [key, stocks] : manager.state().historyLinkageData) m_fileKeys.insert(key);
}

void CPictureTaker::take(Picture& picture) {
    picture.alive = Manager::exists();
    if (!picture.alive) {
        picture.events = m_events.take(picture);
        return;
    }
    TC::CLinkageManager& manager = *Manager::instance();
    followManager(manager, picture.recorded);
    picture.date = manager.getTradeDate();
    // Prices that came before the first picture belong to the day of that picture.
    if (!m_strTapeDate.empty() && picture.date != m_strTapeDate) {
        m_tape.forget();
        m_seen.clear();
    }
    m_strTapeDate = picture.date;
    for (const std::string& stock : manager.getStocks()) m_tape.follow(stock);

    picture.userName = TC::getUserConfig()->getUserDataString(TC::USER_NAME).toStdString();
    picture.recording = manager.getRecording();
    picture.balanceTimes = manager.getBalanceTime();
    picture.imports = manager.getImports();
    m_witness.balances.settle(manager);
    picture.balances = m_witness.balances.rows(manager, picture.date);
    m_witness.arrivals.takeIn(picture.date);
    takeRunning(manager, picture);
    takePairs(manager, picture);
    takeHistory(manager, picture);
    takeAccounts(manager, picture);
    picture.events = m_events.take(picture);
    takeStocks(manager, picture);
    picture.curve = manager.getPeriodCurve(picture.selection.account, picture.selection.strategy);
    agree(picture);
    if (!picture.selection.stock.empty()) takeStock(manager, picture);
}

void CPictureTaker::takePairs(TC::CLinkageManager& manager, Picture& picture) {
    const std::set<std::string> strategies = strategiesOf(manager, picture);
    for (const auto& account : manager.getAccounts()) {
        for (const std::string& strategy : strategies) {
            PairRow row;
            row.account = account->m_strKey;
            row.accountName = account->m_strName;
            row.strategy = strategy;
            row.runningOrders = manager.getRunningOrders(row.account, strategy);
            row.runningTasks = manager.getRunningTasks(row.account, strategy);
            const auto records = manager.getTradeStatDatas(row.account, strategy);
            for (const auto& [stock, record] : records) {
                const TC::EffectiveFigures figures = TC::effectiveFigures(*record, m_bClientType3);
                row.bought += figures.buyVolume;
                row.sold += figures.sellVolume;
                row.profit += record->worth().m_dProfit;
                row.positionValue += record->worth().m_dPositionValue;
                const auto price = priceOf(stock);
                const std::int64_t net = std::int64_t(figures.buyVolume) - figures.sellVolume;
                if (net != 0 && price && price->hasLastPrice())
                    row.unequalValue += std::fabs(static_cast<double>(net) * price->m_dLastPrice);
            }
            const auto time = picture.balanceTimes.find(row.account + ":" + strategy);
            if (time != picture.balanceTimes.end()) row.balanceTime = time->second;
            const bool idle = records.empty() && row.runningOrders == 0 && row.runningTasks == 0 &&
                              row.balanceTime.empty() && !m_records.hasAny(row.account, strategy) &&
                              manager.getHistoryOfPair(row.account, strategy).empty();
            // The chosen strategy stays in the list, even when a new day has emptied it.
            const bool chosen =
                picture.selection.account == row.account && picture.selection.strategy == strategy;
            if (strategy.empty() || chosen || !idle) picture.pairs.push_back(std::move(row));
        }
    }
}

void CPictureTaker::takeStocks(TC::CLinkageManager& manager, Picture& picture) {
    const Selection& chosen = picture.selection;
    for (const auto& [stock, record] : manager.getTradeStatDatas(chosen.account, chosen.strategy)) {
        const TC::EffectiveFigures figures = TC::effectiveFigures(*record, m_bClientType3);
        StockRow row;
        row.stock = stock;
        takeMarket(row);
        row.bought = figures.buyVolume;
        row.sold = figures.sellVolume;
        row.boughtAmount = figures.buyAmount;
        row.soldAmount = figures.sellAmount;
        row.commission = record->deals().m_dCommission;
        row.profit = record->worth().m_dProfit;
        row.positionValue = record->worth().m_dPositionValue;
        picture.stocks.push_back(std::move(row));
    }
    takeStocksWithoutFigures(manager, picture);
}

/// Orders, and deals that balance history, have no figures of the day; their stocks are listed all
/// the same, or nobody could look at them.
void CPictureTaker::takeStocksWithoutFigures(TC::CLinkageManager& manager, Picture& picture) {
    const Selection& chosen = picture.selection;
    if (chosen.account.empty()) return;
    std::set<std::string> known;
    for (const StockRow& row : picture.stocks) known.insert(row.stock);
    for (const std::string& stock : manager.getStocks()) {
        if (known.count(stock) || !m_records.hasAny(chosen, stock)) continue;
        StockRow row;
        row.stock = stock;
        takeMarket(row);
        picture.stocks.push_back(std::move(row));
    }
}

void CPictureTaker::takeStock(TC::CLinkageManager& manager, Picture& picture) {
    const std::string& stock = picture.selection.stock;
    const auto detail = detailOf(stock);
    if (detail) {
        picture.referencePrice = detail->m_dReferencePrice;
        picture.tick = detail->m_dPriceTick;
    }
    picture.prices = m_tape.of(stock);
    takeOrders(picture);
    takeDeals(picture);
    takeTasks(manager, picture);
}

/// A pair may have stock records without totals, from the files or as the rest of a removal.
std::set<std::string> CPictureTaker::historyKeys(
    const std::map<std::string, TC::TradeStatData>& stats, const Picture& picture) const {
    std::set<std::string> keys = m_fileKeys;
    for (const PairRow& pair : picture.pairs) keys.insert(pair.account + pair.strategy);
    for (const auto& [key, stat] : stats) keys.insert(key);
    return keys;
}

void CPictureTaker::takeHistory(TC::CLinkageManager& manager, Picture& picture) {
    const auto stats = manager.getHistoryStatData();
    if (!stats.empty() && !picture.recorded && m_pStatChanged->changed.exchange(false))
        manager.historyStatCalculator();
    for (const std::string& key : historyKeys(stats, picture)) {
        HistoryRow row;
        row.key = key;
        if (const auto stat = stats.find(key); stat != stats.end()) {
            row.account = stat->second.m_strAccountKey;
            row.strategy = stat->second.m_strStrategy;
        } else {
            std::tie(row.account, row.strategy) = pairOf(key, picture);
        }
        const auto records = manager.getHistoryLinkageData(key);
        if (records.empty() && stats.count(key)) picture.history.push_back(row);
        for (const auto& [stock, record] : records) {
            const TC::EffectiveFigures figures = TC::effectiveFigures(*record, m_bClientType3);
            row.stock = stock;
            row.bought = figures.buyVolume;
            row.sold = figures.sellVolume;
            row.boughtAmount = figures.buyAmount;
            row.soldAmount = figures.sellAmount;
            picture.history.push_back(row);
        }
    }
}

}  // namespace desk

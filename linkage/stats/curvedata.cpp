#include "linkage/stats/curvedata.h"

#include "linkage/ledger/attribution.h"
#include "linkage/ledger/daykey.h"

#include <algorithm>
#include <cmath>

namespace TC {

namespace {

constexpr std::int64_t ASK_AGAIN_MICROS = 60'000'000;
constexpr std::int64_t ASK_RARELY_MICROS = 3'600'000'000;

/// Half an hour after the close most services have all bars of the exchange. A minute that is
/// still missing is one without trading (a halted or idle stock), or the service is late.
constexpr int FINAL_MINUTE = LAST_MINUTE + 30;

bool isPrice(double price) { return std::isfinite(price) && price > 0.0; }

/// Prices have at most four decimals; a mean of equal prices must be that price.
double roundedPrice(double price) { return std::round(price * 1e4) / 1e4; }

/// What a map has under a key; null when nothing. Looks at `next` first, and leaves it behind the
/// key.
template <class Map>
const typename Map::mapped_type* findFrom(const Map& map, typename Map::const_iterator& next,
                                          const std::string& key) {
    if (next == map.end() || next->first != key) next = map.lower_bound(key);
    if (next == map.end() || next->first != key) return nullptr;
    return &(next++)->second;
}

}  // namespace

void CCurveData::newDay(const std::string& date) {
    if (date == m_strDate) return;
    m_strDate = date;
    m_nMidnight = dayKey(date);
    m_bars.clear();
    m_seen.clear();
    m_totals.clear();
    m_suspects.clear();
    m_due.clear();
    m_renewedStocks.clear();
    m_bRunning = false;
    m_bRunToday = false;
}

// Marks of an account that is built up again go with its day.
void CCurveData::suspectAccount(const std::string& accountKey) {
    m_suspects.insert(accountKey);
    m_due.erase(accountKey);
}

std::uint64_t CCurveData::beginRun() {
    if (!m_bRunning) m_nRounds = 0;
    m_bRunning = true;
    return ++m_nRun;
}

bool CCurveData::addDue(Marks marks) {
    ++m_nRounds;
    for (const std::string& account : m_suspects) {
        const auto stocks = m_totals.find(account);
        if (stocks == m_totals.end()) continue;
        std::set<std::string>& due = marks[account];
        for (const auto& [stock, totals] : stocks->second) due.insert(stock);
    }
    m_suspects.clear();
    m_due.merge(marks);
    for (auto& [account, stocks] : marks) m_due[account].merge(stocks);
    return !m_due.empty();
}

std::optional<std::pair<std::string, std::string>> CCurveData::nextDue() const {
    if (m_due.empty()) return std::nullopt;
    const auto& [account, stocks] = *m_due.begin();
    return std::pair(account, *stocks.begin());
}

std::optional<std::string> CCurveData::nextStock() const {
    if (!m_due.empty() || m_renewedStocks.empty()) return std::nullopt;
    return *m_renewedStocks.begin();
}

void CCurveData::endRun() {
    m_nEnded = m_nRun;
    m_bRunning = false;
    m_bRunToday = true;
}

// What renews a stock renews it for all its accounts, so once for each stock is enough.
void CCurveData::renewTotals(const std::string& accountKey, const std::string& stockKey,
                             ByStrategy totals) {
    m_bars.try_emplace(stockKey);
    m_totals[accountKey][stockKey].renew(m_nRun, m_nEnded) = std::move(totals);
    m_renewedStocks.insert(stockKey);
    const auto due = m_due.find(accountKey);
    if (due == m_due.end()) return;
    due->second.erase(stockKey);
    if (due->second.empty()) m_due.erase(due);
}

std::size_t CCurveData::renewTraded(const std::string& stockKey) {
    m_renewedStocks.erase(stockKey);
    const auto followed = m_bars.find(stockKey);
    if (followed == m_bars.end()) return 0;
    std::size_t count = m_totals.size();
    std::map<int, LinkagePeriodTradeData> sums;
    for (const auto& [account, stocks] : m_totals) {
        const auto renewed = stocks.find(stockKey);
        if (renewed == stocks.end()) continue;
        const ByStrategy& byStrategy = renewed->second.newest();
        const auto totals = byStrategy.find(WHOLE_ACCOUNT);
        if (totals == byStrategy.end()) continue;
        count += totals->second->size();
        LinkagePeriodTradeData before;
        for (const auto& [minute, total] : *totals->second) {
            LinkagePeriodTradeData& sum = sums[minute];
            sum.m_nBuyVolume += total.m_nBuyVolume - before.m_nBuyVolume;
            sum.m_nSellVolume += total.m_nSellVolume - before.m_nSellVolume;
            sum.m_dBuyAmount += total.m_dBuyAmount - before.m_dBuyAmount;
            sum.m_dSellAmount += total.m_dSellAmount - before.m_dSellAmount;
            before = total;
        }
    }
    const auto traded = std::make_shared<Closes>();
    for (const auto& [minute, sum] : sums) {
        const double volume = static_cast<double>(sum.m_nBuyVolume + sum.m_nSellVolume);
        const double price = roundedPrice((sum.m_dBuyAmount + sum.m_dSellAmount) / volume);
        if (isPrice(price)) traded->emplace_hint(traded->end(), minute, price);
    }
    followed->second.traded.renew(m_nRun, m_nEnded) = traded;
    return count;
}

void CCurveData::notePrice(const std::string& stockKey, double price, std::int64_t nowMicros) {
    constexpr std::int64_t DAY_SECONDS = 86'400;
    if (!isPrice(price)) return;
    const std::int64_t second = nowMicros / 1'000'000 - m_nMidnight;
    if (second < 0 || second >= DAY_SECONDS) return;
    const int minute = priceMinute(static_cast<int>((second + 59) / 60));
    if (minute > 0) m_seen[stockKey].change()[minute] = price;
}

CCurveData::CPartsFinder::CPartsFinder(const CCurveData& data, const std::string& accountKey,
                                       const std::string& strategy)
    : m_data(data), m_strategy(strategy), m_nextBars(data.m_bars.begin()) {
    const auto account = data.m_totals.find(accountKey);
    if (account == data.m_totals.end()) return;
    m_pTotals = &account->second;
    m_nextTotals = m_pTotals->begin();
}

CCurveData::StockParts CCurveData::CPartsFinder::find(const std::string& stockKey) {
    StockParts parts;
    if (const auto seen = m_data.m_seen.find(stockKey); seen != m_data.m_seen.end()) {
        parts.seen = seen->second.share();
    }
    if (const auto* const bars = findFrom(m_data.m_bars, m_nextBars, stockKey)) {
        parts.closes = bars->closes.share();
        parts.traded = bars->traded.of(m_data.m_nEnded);
    }
    if (!m_pTotals) return parts;
    const auto* const stock = findFrom(*m_pTotals, m_nextTotals, stockKey);
    if (!stock) return parts;
    const ByStrategy& byStrategy = stock->of(m_data.m_nEnded);
    const auto totals = byStrategy.find(m_strategy);
    if (totals != byStrategy.end()) parts.totals = totals->second;
    return parts;
}

bool CCurveData::isDue(const Bars& bars, const DayMoment& moment, std::int64_t nowMicros) {
    const int newest = tradingMinuteAt(moment.finished);
    if (newest == 0) return false;
    if (bars.tradingMinutes >= countTradingMinutes(newest)) return false;
    if (bars.askedFinished < newest && bars.closes.get().count(newest) == 0) return true;
    return nowMicros - bars.askedMicros >= bars.waitMicros;
}

std::vector<std::string> CCurveData::takeDueStocks(const DayMoment& moment,
                                                   std::int64_t nowMicros) {
    std::vector<std::string> due;
    for (auto& [stock, bars] : m_bars) {
        if (!isDue(bars, moment, nowMicros)) continue;
        bars.askedFinished = moment.finished;
        bars.askedMicros = nowMicros;
        bars.waitMicros =
            moment.finished < FINAL_MINUTE
                ? ASK_AGAIN_MICROS
                : std::clamp(2 * bars.waitMicros, ASK_AGAIN_MICROS, ASK_RARELY_MICROS);
        due.push_back(stock);
    }
    return due;
}

bool CCurveData::addBars(const std::string& stockKey, int finished,
                         const std::vector<CMinuteBar>& bars) {
    const auto followed = m_bars.find(stockKey);
    if (followed == m_bars.end()) return false;
    Bars& held = followed->second;
    const bool newest = finished >= held.answered;
    if (newest) held.answered = finished;
    bool changed = false;
    for (const CMinuteBar& bar : bars) {
        if (bar.m_nMinute > finished || !isPrice(bar.m_dClose)) continue;
        const Closes& closes = held.closes.get();
        const auto known = closes.find(bar.m_nMinute);
        const bool isNew = known == closes.end();
        if (!isNew && (!newest || known->second == bar.m_dClose)) continue;
        held.closes.change()[bar.m_nMinute] = bar.m_dClose;
        changed = true;
        if (isNew) {
            held.tradingMinutes += isTradingMinute(bar.m_nMinute);
            held.waitMicros = ASK_AGAIN_MICROS;
        }
    }
    return changed;
}

const CCurveData::Closes* CCurveData::findCloses(const std::string& stockKey) const {
    const auto bars = m_bars.find(stockKey);
    return bars == m_bars.end() || bars->second.closes.get().empty() ? nullptr
                                                                     : &bars->second.closes.get();
}

}  // namespace TC

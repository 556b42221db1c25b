#include "linkage/ledger/daykey.h"
#include "linkage/ledger/ledger.h"
#include "linkage/ledger/orderrule.h"
#include "linkage/tape/moment.h"
#include "linkage/tape/services.h"
#include "platform/utils/keys.h"
#include "platform/utils/text.h"

namespace TC {

using namespace ledger;

std::uint32_t CLedger::findAccount(const std::string& key) const { return m_accounts.find(key); }

std::uint32_t CLedger::findStrategy(const std::string& name) const {
    return m_strategies.find(name);
}

std::uint32_t CLedger::findStock(const std::string& key) const { return m_stocks.find(key); }

std::uint32_t CLedger::accountId(const std::string& key) {
    if (const std::uint32_t found = m_accounts.find(key); found != NONE) return found;
    const std::lock_guard names(m_namesMutex);
    const std::uint32_t made = m_accounts.add(key);
    m_accounts[made].day = m_tradeDay;
    return made;
}

std::uint32_t CLedger::strategyId(const std::string& name) {
    if (const std::uint32_t found = m_strategies.recall(name); found != NONE) return found;
    const std::lock_guard names(m_namesMutex);
    return m_strategies.add(name);
}

std::uint32_t CLedger::stockId(const std::string& key) {
    if (const std::uint32_t found = m_stocks.find(key); found != NONE) return found;
    const std::lock_guard names(m_namesMutex);
    const std::uint32_t made = m_stocks.add(key);
    m_stocks[made].quoteKey = Pim::sToQs(key);
    m_stocks[made].special = isSpecialTreatment(key);
    return made;
}

const CLedger::Listing& CLedger::listing(const std::string& market, const std::string& code) {
    const std::uint64_t hash = utils::textHash(code, utils::textHash(market));
    std::uint32_t at = m_listingIndex.find(hash, [&](std::uint32_t index) {
        return utils::sameText(m_listings[index].code, code) &&
               utils::sameText(m_listings[index].market, market);
    });
    if (at == NONE) {
        at = m_listings.make();
        Listing& made = m_listings[at];
        made.market = market;
        made.code = code;
        made.stock = stockId(utils::zorStockKey(market, code));
        m_listingIndex.add(hash, at);
    }
    Listing& found = m_listings[at];
    if (found.revision != referenceRevision()) refresh(found);
    return found;
}

void CLedger::refresh(Listing& known) const {
    // The revision is read first: a change during the questions below is seen next time. It is
    // stored last: when a question throws, the next call asks again.
    const std::uint64_t revision = referenceRevision();
    const auto isTyped = [&](int type) {
        return service<vexservice::StockTypeCenter>().isTypedStock(type, known.market, known.code);
    };
    known.excluded =
        isTyped(vexservice::STOCKTYPE_REPURCHASE) || isTyped(vexservice::STOCKTYPE_SUBSCRIPTION);
    const auto detail = service<CStockManager>().getInstrumentDetail(known.market, known.code);
    known.hasDetail = detail != nullptr;
    known.tick = detail ? detail->m_dPriceTick : DEFAULT_TICK;
    known.reference = detail ? detail->m_dReferencePrice : 0.0;
    known.unit = service<vexservice::StockTypeCenter>().tradeMinUnit(known.market, known.code);
    known.revision = revision;
}

CLedger::Holding& CLedger::holding(std::uint32_t account, std::uint32_t stock) {
    std::vector<std::uint32_t>& holdings = m_accounts[account].holdings;
    if (stock >= holdings.size()) holdings.resize(stock + 1, NONE);
    if (holdings[stock] == NONE) holdings[stock] = m_holdings.make();
    return m_holdings[holdings[stock]];
}

bool CLedger::follows(const std::string& market, const std::string& code) {
    return !listing(market, code).excluded;
}

int CLedger::day(const std::string& date) {
    if (!date.empty() && utils::sameText(date, m_strLastDate)) return m_nLastDay;
    const auto [at, isNew] = m_dayOfDate.try_emplace(date, 0);
    if (isNew) at->second = dayKey(date);
    m_strLastDate = date;
    m_nLastDay = at->second;
    return m_nLastDay;
}

bool CLedger::listStrategy(std::uint32_t at) {
    Strategy& strategy = m_strategies[at];
    if (at == WHOLE_ACCOUNT_ID || strategy.listed) return false;
    return strategy.listed = true;
}

std::set<std::string> CLedger::strategies() const {
    std::set<std::string> names;
    for (const Strategy& strategy : m_strategies) {
        if (strategy.listed) names.insert(strategy.key);
    }
    return names;
}

std::uint32_t CLedger::cellOf(Holding& held, std::uint32_t account, std::uint32_t stock, int day) {
    if (held.newestDay == day && held.newestCell != NONE) return held.newestCell;
    for (std::uint32_t at = held.newestCell; at != NONE; at = m_cells[at].olderCell) {
        if (m_cells[at].day == day) return at;
    }
    const std::uint32_t made = m_cells.make();
    Cell& cell = m_cells[made];
    cell.day = day;
    cell.stock = stock;
    cell.account = account;
    cell.olderCell = held.newestCell;
    held.newestCell = made;
    held.newestDay = day;
    m_accounts[account].cells.push_back(made);
    return made;
}

std::uint32_t CLedger::pairOf(std::uint32_t account, std::uint32_t strategy) {
    std::vector<std::uint32_t>& pairs = m_accounts[account].pairs;
    if (strategy < pairs.size() && pairs[strategy] != NONE) return pairs[strategy];
    const std::lock_guard names(m_namesMutex);
    if (strategy >= pairs.size()) pairs.resize(strategy + 1, NONE);
    const std::uint32_t made = m_pairs.make();
    m_pairs[made].account = account;
    m_pairs[made].strategy = strategy;
    pairs[strategy] = made;
    m_pairsInOrder.clear();
    return made;
}

Figures* CLedger::figuresIn(std::uint32_t pairAt, std::uint32_t stock) {
    Pair& pair = m_pairs[pairAt];
    if (Figures* const found = pair.index.find(stock)) return found;

    Figures* const wide = pair.strategy == WHOLE_ACCOUNT_ID
                              ? nullptr
                              : figuresIn(pairOf(pair.account, WHOLE_ACCOUNT_ID), stock);
    const std::lock_guard names(m_namesMutex);
    Figures* const made = m_stocks[stock].figures.make(m_figureMemory);
    made->stock = stock;
    made->pair = pairAt;
    made->wide = wide;
    pair.index.add(stock, made);
    pair.figures.push_back(made);
    if (pair.figures.size() == pair.sorted + 1) m_grownPairs.push_back(pairAt);
    ++m_nFigures;
    m_figureCopies.touch(made);
    return made;
}

std::map<std::string, FiguresPtr> CLedger::figuresOf(const std::string& accountKey,
                                                     const std::string& strategy) const {
    std::vector<std::pair<const std::string*, FiguresPtr>> held;
    std::shared_ptr<const SteadyFigures> steady;
    {
        const std::lock_guard names(m_namesMutex);
        const std::uint32_t account = findAccount(accountKey);
        const std::uint32_t name = findStrategy(strategy);
        if (account == NONE || name == NONE) return {};
        if (m_pSteady && m_pSteady->account == accountKey &&
            m_pSteady->owner != std::this_thread::get_id()) {
            steady = m_pSteady;
        } else {
            const std::vector<std::uint32_t>& pairs = m_accounts[account].pairs;
            if (name >= pairs.size() || pairs[name] == NONE) return {};
            const Pair& pair = m_pairs[pairs[name]];
            held.reserve(pair.figures.size());
            for (Figures* figures : pair.figures) {
                held.emplace_back(&m_stocks[figures->stock].key, figures->share());
            }
        }
    }
    if (steady) {
        const auto at = steady->byStrategy.find(strategy);
        return at == steady->byStrategy.end() ? std::map<std::string, FiguresPtr>() : at->second;
    }
    std::map<std::string, FiguresPtr> result;
    for (auto& [key, record] : held) result.emplace(*key, std::move(record));
    return result;
}

CLedger::CSteadyFigures::CSteadyFigures(CLedger& ledger, const std::string& accountKey)
    : m_ledger(ledger) {
    auto steady = std::make_shared<SteadyFigures>();
    steady->account = accountKey;
    steady->owner = std::this_thread::get_id();
    const std::uint32_t account = m_ledger.findAccount(accountKey);
    if (account != NONE) {
        for (const std::uint32_t pairAt : m_ledger.m_accounts[account].pairs) {
            if (pairAt == NONE) continue;
            const std::string& strategy =
                m_ledger.m_strategies[m_ledger.m_pairs[pairAt].strategy].key;
            steady->byStrategy[strategy] = m_ledger.figuresOf(accountKey, strategy);
        }
    }
    const std::lock_guard names(m_ledger.m_namesMutex);
    m_ledger.m_pSteady = std::move(steady);
}

CLedger::CSteadyFigures::~CSteadyFigures() {
    std::shared_ptr<const SteadyFigures> ended;
    const std::lock_guard names(m_ledger.m_namesMutex);
    ended.swap(m_ledger.m_pSteady);
}

}  // namespace TC

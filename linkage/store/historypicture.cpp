#include "linkage/store/historypicture.h"

#include "linkage/store/historystate.h"

#include <algorithm>
#include <functional>
#include <limits>

namespace TC {

namespace {

constexpr std::size_t ALL = std::numeric_limits<std::size_t>::max();

bool isSame(const EffectiveFigures& a, const EffectiveFigures& b) {
    return a.buyVolume == b.buyVolume && a.sellVolume == b.sellVolume &&
           a.buyAmount == b.buyAmount && a.sellAmount == b.sellAmount;
}

/// Whether the row has what the store's records stand at.
bool isSame(const SavedHistory& row, const ByText<FiguresPtr>& stocks, bool clientType3) {
    if (row.stocks.size() != stocks.size()) return false;
    auto at = row.stocks.begin();
    for (const auto& [stock, record] : stocks) {
        if (!isSame(at->second, effectiveFigures(*record, clientType3))) return false;
        ++at;
    }
    return true;
}

/// The first key of the store that is not before `from`; empty when there is none.
std::optional<std::string> keyFrom(const HistoryState& store, const std::string& from) {
    const std::string* first = nullptr;
    const auto look = [&](const auto& keys) {
        const auto at = keys.lower_bound(from);
        if (at != keys.end() && (!first || at->first < *first)) first = &at->first;
    };
    store.m_historyStatData.with([&](const auto& stats) { look(stats); });
    look(store.m_historyLinkageData);
    look(store.m_writtenTradeKeys);
    return first ? std::optional(*first) : std::nullopt;
}

}  // namespace

void CHistoryPicture::touch(const std::string& key) {
    if (!m_from || key < *m_from) m_touched.insert(key);
}

void CHistoryPicture::touchAll() {
    m_from = std::string();
    m_nSwept = 0;
}

void CHistoryPicture::share(const std::string& key) {
    m_shared[0].insert(key);
    touch(key);
}

void CHistoryPicture::newDay() {
    m_shared[1] = std::exchange(m_shared[0], {});
    touchAll();
}

std::shared_ptr<const void> CHistoryPicture::clear() {
    const auto cases = std::make_shared<decltype(m_cases)>();
    cases->swap(m_cases);
    m_touched.clear();
    m_shared = {};
    touchAll();
    return cases;
}

bool CHistoryPicture::follow(const HistoryState& store, bool clientType3, std::size_t most) {
    for (std::size_t copied = 0; copied < most;) {
        if (!copyNext(store, clientType3, copied)) return false;
    }
    return true;
}

// First what is known to have changed, then, if all may have, key by key, and what is no more.
bool CHistoryPicture::copyNext(const HistoryState& store, bool clientType3, std::size_t& copied) {
    if (!m_touched.empty()) {
        const std::string key = *m_touched.begin();
        copied += copy(store, clientType3, key);
        m_touched.erase(key);
    } else if (m_from) {
        const auto key = keyFrom(store, *m_from);
        if (key) copied += copy(store, clientType3, *key);
        // The next key can be no less than this one with one more byte.
        m_from = key ? std::optional(*key + '\0') : std::nullopt;
    } else if (m_nSwept < CASES * SHELVES) {
        copied += sweep(store, m_nSwept++);
    } else {
        return false;
    }
    return true;
}

std::size_t CHistoryPicture::sweep(const HistoryState& store, std::size_t shelf) {
    const Rows* const held = shelfAt(shelf);
    if (!held) return 0;
    const Rows rows = *held;
    for (const Row& row : rows) {
        if (keyFrom(store, row->key) != row->key) put(row->key, nullptr);
    }
    return rows.size();
}

CHistoryPicture::CTaken CHistoryPicture::take(const HistoryState& store, bool clientType3) {
    for (const auto& keys : m_shared) {
        for (const std::string& key : keys) {
            const auto stocks = store.m_historyLinkageData.find(key);
            if (stocks == store.m_historyLinkageData.end()) continue;
            const Row row = find(key);
            if (row && !isSame(*row, stocks->second, clientType3)) touch(key);
        }
    }
    follow(store, clientType3, ALL);
    CTaken taken;
    ++m_nTaken;
    for (Case& each : m_cases) {
        if (!each.shelves) continue;
        each.taken = true;
        taken.m_cases.push_back(each.shelves);
    }
    return taken;
}

CHistoryPicture::Rows CHistoryPicture::CTaken::rows() const {
    Rows rows;
    for (const auto& shelves : m_cases) {
        for (const Shelf& shelf : *shelves) {
            if (shelf.rows) rows.insert(rows.end(), shelf.rows->begin(), shelf.rows->end());
        }
    }
    std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a->key < b->key; });
    return rows;
}

// Gives how much it copied.
std::size_t CHistoryPicture::copy(const HistoryState& store, bool clientType3,
                                  const std::string& key) {
    auto row = std::make_shared<SavedHistory>();
    row->key = key;
    store.m_historyStatData.with([&](const auto& stats) {
        const auto stat = stats.find(key);
        if (stat != stats.end()) row->stat = stat->second;
    });
    const auto stocks = store.m_historyLinkageData.find(key);
    if (stocks != store.m_historyLinkageData.end()) {
        for (const auto& [stock, record] : stocks->second) {
            row->stocks.emplace_back(stock, effectiveFigures(*record, clientType3));
        }
    }
    const auto trades = store.m_writtenTradeKeys.find(key);
    if (trades != store.m_writtenTradeKeys.end()) {
        row->tradeKeys.assign(trades->second.begin(), trades->second.end());
    }
    const std::size_t count = 1 + row->stocks.size() + row->tradeKeys.size();
    put(key, row->stat || count > 1 ? row : nullptr);
    return count;
}

std::size_t CHistoryPicture::placeOf(const std::string& key) {
    return std::hash<std::string>()(key) % (CASES * SHELVES);
}

const CHistoryPicture::Rows* CHistoryPicture::shelfAt(std::size_t place) const {
    const Case& in = m_cases[place / SHELVES];
    return in.shelves ? (*in.shelves)[place % SHELVES].rows.get() : nullptr;
}

CHistoryPicture::Row CHistoryPicture::find(const std::string& key) const {
    const Rows* const rows = shelfAt(placeOf(key));
    if (!rows) return nullptr;
    const auto at =
        std::find_if(rows->begin(), rows->end(), [&](const Row& row) { return row->key == key; });
    return at == rows->end() ? nullptr : *at;
}

CHistoryPicture::Rows& CHistoryPicture::shelfToChange(std::size_t place) {
    Case& in = m_cases[place / SHELVES];
    if (!in.shelves) {
        in.shelves = std::make_shared<std::vector<Shelf>>(SHELVES);
    } else if (in.taken) {
        in.shelves = std::make_shared<std::vector<Shelf>>(*in.shelves);
    }
    in.taken = false;
    Shelf& shelf = (*in.shelves)[place % SHELVES];
    if (!shelf.rows) {
        shelf.rows = std::make_shared<Rows>();
    } else if (shelf.made < m_nTaken) {
        shelf.rows = std::make_shared<Rows>(*shelf.rows);
    }
    shelf.made = m_nTaken;
    return *shelf.rows;
}

void CHistoryPicture::put(const std::string& key, Row row) {
    if (!row && !find(key)) return;
    Rows& rows = shelfToChange(placeOf(key));
    const auto at =
        std::find_if(rows.begin(), rows.end(), [&](const Row& each) { return each->key == key; });
    if (at == rows.end()) {
        rows.push_back(std::move(row));
    } else if (row) {
        *at = std::move(row);
    } else {
        rows.erase(at);
    }
}

}  // namespace TC

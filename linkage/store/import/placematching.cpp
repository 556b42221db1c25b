#include "linkage/store/import/placematching.h"

#include <algorithm>

namespace TC::statement {

CPlaceMatching::CPlaceMatching(const std::vector<MatchItem>& items, bool joins) : m_items(items) {
    m_places.reserve(items.size());
    m_known.reserve(items.size());
    m_byKey.reserve(items.size());
    for (std::uint32_t at = 0; at < items.size(); ++at) {
        items[at].import == MatchItem::REPORT ? placeReport(at) : placeRow(at);
    }
    if (joins) joinPlaces();
}

int CPlaceMatching::wordOf(std::unordered_map<std::string, int>& words, const std::string& text) {
    if (text.empty()) return 0;
    return words.try_emplace(text, static_cast<int>(words.size()) + 1).first->second;
}

// The first candidate that fits and has nothing of these imports. A place that does not fit
// never will, so nobody has to look at it again.
template <class Fits>
std::uint32_t CPlaceMatching::first(Candidates& candidates, const Imports& imports, Fits fits) {
    std::size_t& at = candidates.looked[imports];
    for (; at < candidates.places.size(); ++at) {
        ++m_nLooks;
        const std::uint32_t place = candidates.places[at];
        const bool isGone = m_places[place].items.empty() && !m_places[place].isReported;
        if (!isGone && fits(m_known[place]) && !shares(place, imports)) return place;
    }
    return NONE;
}

bool CPlaceMatching::shares(std::uint32_t place, const Imports& imports) const {
    const auto& items = m_places[place].items;
    return std::any_of(items.begin(), items.end(), [&](std::uint32_t item) {
        return std::find(imports.begin(), imports.end(), m_items[item].import) != imports.end();
    });
}

CPlaceMatching::Imports CPlaceMatching::importsOf(std::uint32_t place) const {
    Imports imports;
    for (const std::uint32_t item : m_places[place].items) imports.push_back(m_items[item].import);
    return imports;
}

std::uint32_t CPlaceMatching::open() {
    m_places.emplace_back();
    m_known.emplace_back();
    return static_cast<std::uint32_t>(m_places.size()) - 1;
}

void CPlaceMatching::placeReport(std::uint32_t item) {
    const std::uint32_t place = open();
    m_places[place].isReported = true;
    Known& known = m_known[place];
    known.time = wordOf(m_times, m_items[item].time);
    known.number = wordOf(m_numbers, m_items[item].number);
    if (known.number != 0) m_byNumber[known.number].places.push_back(place);
    if (known.time == 0) return;
    m_byTime[known.time].places.push_back(place);
    if (known.number == 0) m_byTimeNumberless[known.time].places.push_back(place);
}

void CPlaceMatching::placeRow(std::uint32_t item) {
    const int number = wordOf(m_numbers, m_items[item].number);
    const int time = wordOf(m_times, m_items[item].time);
    const auto [known, isNew] = m_byKey.try_emplace(m_items[item].key, NONE);
    std::uint32_t place = known->second;
    if (isNew) place = placeByWords(m_items[item].import, number, time);
    if (place == NONE) place = open();
    known->second = place;
    m_places[place].items.push_back(item);
    learn(place, number, time);
}

std::uint32_t CPlaceMatching::placeByWords(int import, int number, int time) {
    const Imports imports{import};
    std::uint32_t place = NONE;
    // A number that is the same settles it, whatever the times.
    if (number != 0) place = first(m_byNumber[number], imports, [](const Known&) { return true; });
    if (place != NONE || time == 0) return place;
    ByWord& byTime = number != 0 ? m_byTimeNumberless : m_byTime;
    return first(byTime[time], imports, [&](const Known& known) {
        return (known.told == 0 || known.told == time) && (number == 0 || known.number == 0);
    });
}

void CPlaceMatching::learn(std::uint32_t place, int number, int told) {
    Known& known = m_known[place];
    if (known.number == 0 && number != 0) {
        known.number = number;
        m_byNumber[number].places.push_back(place);
    }
    if (known.told != 0 || told == 0) return;
    known.told = told;
    if (known.time == told) return;
    m_byTime[told].places.push_back(place);
    if (known.number == 0) m_byTimeNumberless[told].places.push_back(place);
}

void CPlaceMatching::joinPlaces() {
    const bool isVague = std::any_of(m_known.begin(), m_known.end(),
                                     [](const Known& known) { return known.number == 0; });
    // Two numbers are two trades.
    if (!isVague) return;
    for (std::uint32_t from = 0; from < m_places.size(); ++from) {
        const std::uint32_t to = m_places[from].isReported ? NONE : partnerOf(from);
        if (to == NONE) {
            offer(from);
            continue;
        }
        const Known before = m_known[to];
        std::vector<std::uint32_t>& items = m_places[to].items;
        items.insert(items.end(), m_places[from].items.begin(), m_places[from].items.end());
        std::sort(items.begin(), items.end());
        m_places[from].items.clear();
        learn(to, m_known[from].number, m_known[from].told);
        if (before.number != m_known[to].number || before.told != m_known[to].told) offer(to);
    }
}

// An earlier place that may be the same trade.
std::uint32_t CPlaceMatching::partnerOf(std::uint32_t from) {
    const Known& known = m_known[from];
    const Imports imports = importsOf(from);
    const auto isVague = [](const Known& each) { return each.number == 0 && each.told == 0; };
    const auto isNumberless = [](const Known& each) { return each.number == 0; };
    const auto isTimeless = [](const Known& each) { return each.told == 0; };
    const auto isAny = [](const Known&) { return true; };
    if (isVague(known)) return first(m_all, imports, isAny);
    std::uint32_t place = NONE;
    if (known.number == 0) {
        place = first(m_told[known.told], imports, isAny);
        if (place == NONE) place = first(m_timeless, imports, isTimeless);
    } else if (known.told == 0) {
        place = first(m_numberless, imports, isNumberless);
    } else {
        place = first(m_toldNumberless[known.told], imports, isNumberless);
        if (place == NONE) place = first(m_vague, imports, isVague);
    }
    return place;
}

// Makes a place a candidate of those that come later, with what is known of it now.
void CPlaceMatching::offer(std::uint32_t place) {
    const Known& known = m_known[place];
    m_all.places.push_back(place);
    if (known.number == 0) m_numberless.places.push_back(place);
    if (known.told == 0) m_timeless.places.push_back(place);
    if (known.number == 0 && known.told == 0) m_vague.places.push_back(place);
    if (known.told == 0) return;
    m_told[known.told].places.push_back(place);
    if (known.number == 0) m_toldNumberless[known.told].places.push_back(place);
}

}  // namespace TC::statement

#include "linkage/store/import/dayrecords.h"

#include "linkage/store/import/placematching.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <type_traits>
#include <utility>

namespace TC::statement {

namespace {

std::string withoutZeros(const std::string& text) {
    std::string number;
    for (const char c : text) {
        if (std::isspace(static_cast<unsigned char>(c)) || (number.empty() && c == '0')) continue;
        number += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return number;
}

template <class Record>
std::string commonValues(const Record& record) {
    return record.m_strMarket + record.m_strCode + '|' +
           std::to_string(static_cast<int>(record.m_eDirection));
}

std::string timeOf(const vexservice::CDealDetail& deal) { return deal.m_strTradeTime; }
std::string timeOf(const vexservice::COrderDetail&) { return {}; }

// Orders of equal values are too many for that to tell anything.
template <class Record>
constexpr bool kMatchesByValues = std::is_same_v<Record, vexservice::CDealDetail>;

}  // namespace

std::string valuesOf(const vexservice::CDealDetail& deal) {
    // A tick of funds and bonds is a thousandth of a yuan.
    return commonValues(deal) + '|' + std::to_string(deal.m_nVolume) + '|' +
           std::to_string(std::llround(deal.m_dPrice * 1000));
}
std::string valuesOf(const vexservice::COrderDetail& order) { return commonValues(order); }

std::string systemNumber(const vexservice::CDealDetail& deal) {
    return withoutZeros(deal.m_strDealID);
}
std::string systemNumber(const vexservice::COrderDetail& order) {
    return withoutZeros(order.m_strSysID);
}

// ------------------------------------------------------------------- the groups

template <class Record>
typename CDayRecords<Record>::Groups::iterator CDayRecords<Record>::groupFor(
    const Record& record, const std::string& number) {
    std::string name = valuesOf(record);
    if constexpr (kMatchesByValues<Record>) {
        if (const auto whole = m_groups.find(name); whole != m_groups.end()) return whole;
        if (number.empty()) {
            gather(name);
            return m_groups.find(name);
        }
    }
    return m_groups.try_emplace(name + '\n' + number).first;
}

// Brings the groups of all numbers of these values into one.
template <class Record>
void CDayRecords<Record>::gather(const std::string& values) {
    const auto whole = m_groups.try_emplace(values).first;
    Group& into = whole->second;
    const std::string prefix = values + '\n';
    auto part = std::next(whole);
    while (part != m_groups.end() && part->first.starts_with(prefix)) {
        Group& from = part->second;
        for (const Reported& each : from.reported) m_reported[each.key] = values;
        std::move(from.reported.begin(), from.reported.end(), std::back_inserter(into.reported));
        std::move(from.rows.begin(), from.rows.end(), std::back_inserter(into.rows));
        std::move(from.filed.begin(), from.filed.end(), std::back_inserter(into.filed));
        part = m_groups.erase(part);
    }
    std::stable_sort(into.rows.begin(), into.rows.end(),
                     [](const Row& a, const Row& b) { return a.import < b.import; });
    touch(whole);
}

template <class Record>
void CDayRecords<Record>::noteChange(const std::string& group) {
    for (const auto& reader : m_readers) {
        const auto changed = reader.lock();
        if (!changed || changed->isAny) continue;
        changed->groups.push_back(group);
        changed->isAny = changed->groups.size() >= CFatesSoFar::MOST_CHANGED;
    }
}

template <class Record>
void CDayRecords<Record>::noteChange() {
    for (const auto& reader : m_readers) {
        if (const auto changed = reader.lock()) changed->isAny = true;
    }
}

// Whatever adds or takes away a row touches its group.
template <class Record>
void CDayRecords<Record>::touch(typename Groups::iterator group) {
    noteChange(group->first);
    if (group->second.isTouched) return;
    group->second.isTouched = true;
    m_touched.push_back(group->first);
}

// ------------------------------------------------------------------- what is known

template <class Record>
std::size_t CDayRecords<Record>::report(const Record& record) {
    const Reported now{record.recordKey(), systemNumber(record), timeOf(record)};
    const auto group = groupFor(record, now.number);
    if (const auto known = m_reported.find(now.key); known != m_reported.end()) {
        const auto& reported = group->second.reported;
        const bool isSame =
            known->second == group->first &&
            std::any_of(reported.begin(), reported.end(), [&](const Reported& each) {
                return each.key == now.key && each.number == now.number;
            });
        if (isSame) return 0;
        unreport(now.key);
    }
    m_reported[now.key] = group->first;
    group->second.reported.push_back(now);
    touch(group);
    return group->second.size();
}

template <class Record>
void CDayRecords<Record>::unreport(std::uint64_t key) {
    std::erase_if(m_toLink, [&](const Ptr& record) { return record->recordKey() == key; });
    const auto known = m_reported.find(key);
    if (known == m_reported.end()) return;
    const auto group = m_groups.find(known->second);
    m_reported.erase(known);
    std::erase_if(group->second.reported, [&](const Reported& each) { return each.key == key; });
    touch(group);
}

template <class Record>
void CDayRecords<Record>::link(Reports filed) {
    forgetReported();
    m_toLink = std::move(filed);
    m_bLinked = true;
}

template <class Record>
void CDayRecords<Record>::forgetReported() {
    for (const auto& [key, name] : m_reported) {
        const auto group = m_groups.find(name);
        if (group == m_groups.end()) continue;
        group->second.reported.clear();
        touch(group);
    }
    m_reported.clear();
    m_toLink.clear();
}

template <class Record>
void CDayRecords<Record>::add(int import, const Ptr& record) {
    const auto group = groupFor(*record, systemNumber(*record));
    auto& rows = group->second.rows;
    rows.insert(std::upper_bound(rows.begin(), rows.end(), import, ByImport()),
                {import, record, EFate::Filed});
    auto& known = m_keys[record->recordKey()];
    const auto at =
        std::upper_bound(known.begin(), known.end(), import,
                         [](int number, const auto& each) { return number < each.first; });
    known.insert(at, {import, record});
    touch(group);
}

// By key, because groups may be brought together between two calls.
template <class Record>
bool CDayRecords<Record>::drop(int import, std::size_t records, std::uint64_t& next) {
    auto known = m_keys.lower_bound(next);
    for (; records > 0 && known != m_keys.end(); --records) {
        auto& all = known->second;
        std::erase_if(all, [&](const auto& each) {
            if (each.first == import) dropRows(import, *each.second);
            return each.first == import;
        });
        known = all.empty() ? m_keys.erase(known) : std::next(known);
    }
    if (known == m_keys.end()) return false;
    next = known->first;
    return true;
}

// All rows that the import has in the record's group.
template <class Record>
void CDayRecords<Record>::dropRows(int import, const Record& record) {
    auto group = m_groups.find(valuesOf(record));
    if (group == m_groups.end()) {
        group = m_groups.find(valuesOf(record) + '\n' + systemNumber(record));
    }
    if (group == m_groups.end()) return;
    const auto [first, last] =
        std::equal_range(group->second.rows.begin(), group->second.rows.end(), import, ByImport());
    if (first == last) return;
    group->second.rows.erase(first, last);
    noteChange();
    touch(group);
}

template <class Record>
typename CDayRecords<Record>::Ptr CDayRecords<Record>::find(std::uint64_t key) const {
    const auto found = m_keys.find(key);
    return found == m_keys.end() ? Ptr() : found->second.back().second;
}

template <class Record>
void CDayRecords<Record>::forgetFiled() {
    m_toFile.clear();
    m_toRemove.clear();
    for (auto group = m_groups.begin(); group != m_groups.end(); ++group) {
        if (group->second.filed.empty()) continue;
        group->second.filed.clear();
        touch(group);
    }
}

// ------------------------------------------------------------------- settling

template <class Record>
std::unordered_map<std::uint64_t, typename CDayRecords<Record>::Ptr> CDayRecords<Record>::match(
    Group& group) {
    std::unordered_map<std::uint64_t, Ptr> wanted;
    if (group.reported.empty() && group.rows.size() == 1) {
        Row& only = group.rows.front();
        only.fate = EFate::Filed;
        wanted.emplace(only.record->recordKey(), only.record);
        return wanted;
    }
    std::vector<MatchItem> items;
    items.reserve(group.size());
    for (const Reported& each : group.reported) {
        items.push_back({MatchItem::REPORT, each.key, each.number, each.time});
    }
    for (const Row& row : group.rows) {
        items.push_back(
            {row.import, row.record->recordKey(), systemNumber(*row.record), timeOf(*row.record)});
    }
    const CPlaceMatching matching(items, kMatchesByValues<Record>);
    for (const CPlaceMatching::Place& place : matching.places()) {
        // What the earliest list calls the trade it keeps. A later list that calls it the
        // same may tell more of it.
        const std::uint64_t name = place.items.empty() ? 0 : items[place.items.front()].key;
        for (const std::uint32_t item : place.items) {
            Row& row = group.rows[item - group.reported.size()];
            const bool isOwn = !place.isReported && items[item].key == name;
            row.fate = place.isReported              ? EFate::Reported
                       : !isOwn                      ? EFate::Matched
                       : item == place.items.front() ? EFate::Filed
                                                     : EFate::Repeated;
            if (isOwn) wanted[name] = row.record;
        }
    }
    return wanted;
}

template <class Record>
void CDayRecords<Record>::settleGroup(Group& group) {
    std::unordered_map<std::uint64_t, Ptr> wanted = match(group);
    std::vector<Ptr> filed;
    filed.reserve(wanted.size());
    for (const Ptr& record : group.filed) {
        const auto found = wanted.find(record->recordKey());
        if (found == wanted.end()) {
            m_toFile.erase(record->recordKey());
            m_toRemove.insert(record->recordKey());
        } else if (found->second == record) {
            filed.push_back(record);
            wanted.erase(found);
        }
    }
    for (const auto& [key, record] : wanted) {
        filed.push_back(record);
        m_toRemove.erase(key);
        m_toFile[key] = record;
    }
    group.filed = std::move(filed);
}

template <class Record>
bool CDayRecords<Record>::isAnyLeft() const {
    return !m_toLink.empty() || !m_touched.empty() || !m_toFile.empty() || !m_toRemove.empty();
}

template <class Record>
std::vector<typename CDayRecords<Record>::Ptr> CDayRecords<Record>::giveOut(std::size_t records) {
    std::vector<Ptr> file;
    while (records > 0 && !m_toFile.empty()) {
        file.push_back(std::move(m_toFile.begin()->second));
        m_toFile.erase(m_toFile.begin());
        --records;
    }
    return file;
}

template <class Record>
typename CDayRecords<Record>::Keys* CDayRecords<Record>::toRemove() {
    return m_toLink.empty() && m_touched.empty() ? &m_toRemove : nullptr;
}

template <class Record>
std::vector<typename CDayRecords<Record>::Ptr> CDayRecords<Record>::settle(std::size_t records) {
    std::size_t left = records;
    while (left > 0 && !m_toLink.empty()) {
        const Ptr record = std::move(m_toLink.back());
        m_toLink.pop_back();
        --left;
        // What was reported meanwhile is newer.
        if (!record->m_bImported && m_reported.count(record->recordKey()) == 0) report(*record);
    }
    while (left > 0 && m_toLink.empty() && m_toFile.size() < records && !m_touched.empty()) {
        const auto found = m_groups.find(m_touched.back());
        m_touched.pop_back();
        if (found == m_groups.end()) continue;
        Group& group = found->second;
        noteChange(found->first);
        group.isTouched = false;
        left -= std::min(left, std::max<std::size_t>(group.size(), 1));
        settleGroup(group);
        if (group.size() == 0) m_groups.erase(found);
    }
    return m_toLink.empty() ? giveOut(records) : std::vector<Ptr>();
}

template <class Record>
void CDayRecords<Record>::beginFates(CFatesSoFar& soFar) const {
    soFar.m_changed = std::make_shared<Changed>();
    soFar.m_next.clear();
    soFar.m_bAllRead = false;
    soFar.m_read.clear();
    soFar.m_bAnew = true;
    ++soFar.m_nBegun;
    std::erase_if(m_readers, [](const auto& reader) { return reader.expired(); });
    m_readers.push_back(soFar.m_changed);
}

template <class Record>
void CDayRecords<Record>::readFates(int import, const Group& group, CFatesSoFar& soFar) {
    for (const Row& row : group.rows) {
        if (import == 0 || row.import == import) {
            soFar.m_read.emplace_back(row.record->recordKey(), row.fate);
        }
    }
}

// The day may have gone since, and another one be in its place: that one knows no such reader.
template <class Record>
bool CDayRecords<Record>::fates(int import, std::size_t records, CFatesSoFar& soFar) const {
    const bool isKnown = soFar.m_changed && !soFar.m_changed->isAny &&
                         std::any_of(m_readers.begin(), m_readers.end(), [&](const auto& reader) {
                             return reader.lock() == soFar.m_changed;
                         });
    if (!isKnown) beginFates(soFar);
    const bool isPatient = soFar.m_nBegun <= CFatesSoFar::MOST_BEGINNINGS;
    std::size_t read = 0;
    auto next = soFar.m_bAllRead ? m_groups.end() : m_groups.lower_bound(soFar.m_next);
    for (; next != m_groups.end(); ++next) {
        if (isPatient && read >= records) {
            soFar.m_next = next->first;
            return true;
        }
        readFates(import, next->second, soFar);
        read += std::max<std::size_t>(next->second.rows.size(), 1);
    }
    soFar.m_bAllRead = true;
    auto& changed = soFar.m_changed->groups;
    for (read = 0; !changed.empty(); changed.pop_front()) {
        if (isPatient && read >= CFatesSoFar::AGAIN) return true;
        const auto group = m_groups.find(changed.front());
        if (group == m_groups.end()) continue;
        readFates(import, group->second, soFar);
        read += std::max<std::size_t>(group->second.rows.size(), 1);
    }
    return false;
}

template <class Record>
typename CDayRecords<Record>::Fates& CDayRecords<Record>::CFatesSoFar::collect() {
    if (std::exchange(m_bAnew, false)) m_fates.clear();
    for (const auto& [key, fate] : m_read) m_fates.insert_or_assign(key, fate);
    m_read.clear();
    return m_fates;
}

template <class Record>
std::unordered_map<std::uint64_t, int> CDayRecords<Record>::origins() const {
    std::unordered_map<std::uint64_t, int> imports;
    for (const auto& [name, group] : m_groups) {
        for (const Row& row : group.rows) {
            if (row.fate == EFate::Filed) imports.emplace(row.record->recordKey(), row.import);
        }
    }
    return imports;
}

template <class Record>
std::vector<std::pair<int, typename CDayRecords<Record>::Ptr>> CDayRecords<Record>::imported()
    const {
    std::vector<std::pair<int, Ptr>> all;
    for (const auto& [name, group] : m_groups) {
        for (const Row& row : group.rows) all.emplace_back(row.import, row.record);
    }
    return all;
}

template class CDayRecords<vexservice::CDealDetail>;
template class CDayRecords<vexservice::COrderDetail>;

}  // namespace TC::statement

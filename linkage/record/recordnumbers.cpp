#include "linkage/record/recordnumbers.h"

#include <utility>

namespace TC {

std::uint64_t CRecordNumbers::find(const RecordName& name, const RecordPtr& record) const {
    const Line& line = m_lines[placeOf(name)];
    if (line.records[1] == record) return line.numbers[1];
    if (line.records[0] == record) return line.numbers[0];
    const auto older = m_older.find(name);
    if (older == m_older.end()) return 0;
    const auto found = older->second.find(record);
    return found == older->second.end() ? 0 : found->second;
}

void CRecordNumbers::add(const RecordName& name, const RecordPtr& record, std::uint64_t number) {
    if (2 * m_nUsed >= m_lines.size()) grow();
    Line& line = m_lines[placeOf(name)];
    if (!line.records[1]) ++m_nUsed;
    line.name = name;
    if (!m_bKeepAll) {
        m_older.erase(name);
    } else if (line.records[0]) {
        m_older[name].emplace(line.records[0], line.numbers[0]);
    }
    line.records[0] = std::exchange(line.records[1], record);
    line.numbers[0] = std::exchange(line.numbers[1], number);
}

std::size_t CRecordNumbers::homeOf(const RecordName& name) const {
    constexpr std::uint64_t GOLDEN = 0x9e3779b97f4a7c15;
    const std::uint64_t rest = std::uint64_t{name.account} * 8 + name.kind;
    const std::uint64_t hash = ((name.key * GOLDEN) ^ rest) * GOLDEN;
    return (hash ^ hash >> 32) & (m_lines.size() - 1);
}

std::size_t CRecordNumbers::placeOf(const RecordName& name) const {
    std::size_t at = homeOf(name);
    while (m_lines[at].records[1] && m_lines[at].name != name) at = (at + 1) & (m_lines.size() - 1);
    return at;
}

void CRecordNumbers::grow() {
    std::vector<Line> before(2 * m_lines.size());
    before.swap(m_lines);
    for (Line& line : before) {
        if (line.records[1]) m_lines[placeOf(line.name)] = std::move(line);
    }
}

}  // namespace TC

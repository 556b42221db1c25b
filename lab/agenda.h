#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

namespace lab {

/// What the world outside the library does, by moment: the earliest first, of one moment what
/// was entered first. One thread.
class CAgenda {
public:
    using Work = std::function<void()>;

    void at(std::int64_t micros, Work work) {
        m_entries.emplace(std::pair(micros, m_nEntered++), std::move(work));
    }

    std::optional<std::int64_t> next() const {
        if (m_entries.empty()) return std::nullopt;
        return m_entries.begin()->first.first;
    }

    Work take() {
        Work work = std::move(m_entries.begin()->second);
        m_entries.erase(m_entries.begin());
        return work;
    }

private:
    std::uint64_t m_nEntered = 0;
    std::map<std::pair<std::int64_t, std::uint64_t>, Work> m_entries;
};

}  // namespace lab

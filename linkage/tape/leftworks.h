#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace TC {

/// Work that runs later: on the strand, or at a timer.
struct LeftWork {
    LeftWork() = default;
    /// Work that only whoever leaves it can make.
    LeftWork(const char* what) : name(what) {}
    /// Work that CLinkageManager::workOf() makes.
    LeftWork(const char* what, std::vector<std::string> with)
        : name(what), arguments(std::move(with)), known(true) {}

    std::string text(std::size_t at) const {
        return at < arguments.size() ? arguments[at] : std::string();
    }
    std::uint64_t number(std::size_t at) const {
        const std::string digits = text(at);
        std::uint64_t value = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), value);
        return value;
    }

    std::string name;
    std::vector<std::string> arguments;  ///< what it needs besides the manager
    bool known = false;                  ///< whether name and arguments say all of it
};

/// The work that waits, so that a recording can begin while some does.
///
/// Threads: any.
class CLeftWorks {
public:
    /// While one lives, and does not end, the work waits.
    class CWaits {
    public:
        CWaits(std::shared_ptr<CLeftWorks> works, std::uint64_t number)
            : m_pWorks(std::move(works)), m_nNumber(number) {}
        ~CWaits() { end(); }
        CWaits(const CWaits&) = delete;
        CWaits& operator=(const CWaits&) = delete;

        /// The work runs, or is dropped.
        void end() const { m_pWorks->remove(m_nNumber); }
        /// No other work gets it.
        std::uint64_t number() const { return m_nNumber; }

    private:
        const std::shared_ptr<CLeftWorks> m_pWorks;
        const std::uint64_t m_nNumber;
    };

    static std::shared_ptr<const CWaits> add(const std::shared_ptr<CLeftWorks>& works,
                                             LeftWork work) {
        const std::lock_guard lock(works->m_mutex);
        works->m_works.emplace(++works->m_nLast, std::move(work));
        return std::make_shared<CWaits>(works, works->m_nLast);
    }
    /// Work that had its number before. Other work gets higher ones.
    static std::shared_ptr<const CWaits> put(const std::shared_ptr<CLeftWorks>& works,
                                             std::uint64_t number, LeftWork work) {
        const std::lock_guard lock(works->m_mutex);
        works->m_works.insert_or_assign(number, std::move(work));
        works->m_nLast = std::max(works->m_nLast, number);
        return std::make_shared<CWaits>(works, number);
    }
    /// Runs `work` on all that waits, and the number of the newest; nothing is added or removed
    /// meanwhile.
    template <class Work>
    auto with(const Work& work) const {
        const std::lock_guard lock(m_mutex);
        return work(m_works, m_nLast);
    }

private:
    void remove(std::uint64_t number) {
        const std::lock_guard lock(m_mutex);
        m_works.erase(number);
    }

    mutable std::mutex m_mutex;
    std::uint64_t m_nLast = 0;
    std::map<std::uint64_t, LeftWork> m_works;
};

}  // namespace TC

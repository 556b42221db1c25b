#pragma once

#include "linkage/ledger/types.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace TC {

struct HistoryState;

/// What the files tell of one history key.
struct SavedHistory {
    std::string key;
    std::optional<TradeStatData> stat;  ///< its texts; no file has its totals
    std::vector<std::pair<std::string, EffectiveFigures>> stocks;  ///< in key order
    std::vector<std::string> tradeKeys;                            ///< likewise
};

/// The history store as saves see it: a copy that never changes once it is taken. It follows the
/// store key by key, so that a save holds the manager's lock only for what has changed since the
/// one before, and for that in slices.
///
/// Guarded by the manager's lock; what take() gave needs none.
class CHistoryPicture {
    friend struct PictureMembers;

public:
    using Row = std::shared_ptr<const SavedHistory>;
    using Rows = std::vector<Row>;

    /// Something of the key has changed that a file tells.
    void touch(const std::string& key);
    /// Anything may have changed.
    void touchAll();
    /// The key has a record of the running day, which goes on changing by itself.
    void share(const std::string& key);
    /// A trade date begins. A record of the day before it may still change until its account is
    /// loaded, and is looked at for one more day.
    void newDay();
    /// All keys are gone. Gives what it had, to be destroyed without the lock.
    std::shared_ptr<const void> clear();

    /// Copies about so many of the rows that have changed; false when none is left.
    bool follow(const HistoryState& store, bool clientType3, std::size_t most);

    struct Shelf {
        std::shared_ptr<Rows> rows;
        std::uint64_t made = 0;  ///< how often the picture had been taken then
    };

    /// The store as it stands.
    class CTaken {
    public:
        /// In key order.
        Rows rows() const;

    private:
        friend class CHistoryPicture;
        std::vector<std::shared_ptr<const std::vector<Shelf>>> m_cases;
    };
    CTaken take(const HistoryState& store, bool clientType3);

private:
    /// Rows lie on shelves, and shelves in cases, by the hash of their key. To take all is to take
    /// the cases; what was taken is copied before it changes, a case and a shelf of it.
    static constexpr std::size_t CASES = 128;
    static constexpr std::size_t SHELVES = 32;  ///< of a case
    struct Case {
        std::shared_ptr<std::vector<Shelf>> shelves;
        bool taken = false;
    };

    bool copyNext(const HistoryState& store, bool clientType3, std::size_t& copied);
    std::size_t sweep(const HistoryState& store, std::size_t shelf);
    std::size_t copy(const HistoryState& store, bool clientType3, const std::string& key);
    void put(const std::string& key, Row row);
    const Rows* shelfAt(std::size_t place) const;
    Rows& shelfToChange(std::size_t place);
    Row find(const std::string& key) const;
    static std::size_t placeOf(const std::string& key);

    std::array<Case, CASES> m_cases;
    std::uint64_t m_nTaken = 0;
    std::set<std::string> m_touched;
    /// While all is to be copied: the key from which on nothing is copied yet.
    std::optional<std::string> m_from = std::string();
    /// Thereafter: the shelf from which on there may be rows that the store has no more.
    std::size_t m_nSwept = 0;
    std::array<std::set<std::string>, 2> m_shared;  ///< of this day and the day before
};

}  // namespace TC

#pragma once

#include "linkage/ledger/ledger.h"
#include "linkage/ledger/slicedcopy.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace TC {

/// Filed orders (Ptr: OrderPtr) or deals (DealPtr).
template <class Ptr>
class CLedger::CRecordsCopy final : public ledger::CSlicedCopy<std::uint32_t> {
public:
    /// In selections an empty set selects all.
    struct Which {
        std::set<std::string> accountKeys;
        std::set<std::string> stockKeys;
        int day = 0;
        /// Not those of the day, but of all other days; of deals those that are in no traded
        /// figures.
        bool otherDays = false;
    };

    CRecordsCopy(CLedger& ledger, Which which);

    struct Record {
        std::uint64_t key;
        Ptr report;
        int day;
        const std::string* account;  ///< the texts live as long as the ledger
        const std::string* stock;
    };
    /// All of them, in the order of the places where they are filed. Needs no lock; once.
    std::vector<Record> take();
    /// Their reports, as they were copied: of equal keys the last one is the newest. Once, in the
    /// hold of the last slice if need be.
    std::deque<Ptr> takeReports();
    /// By record key; of a key that is filed in several places the first.
    ByRecord<Ptr> takeByRecord();

private:
    static constexpr bool OF_DEALS = std::is_same_v<Ptr, DealPtr>;
    /// A place where records are filed.
    struct Place {
        int day;
        const std::string* account;
        const std::string* stock;
    };
    struct Copied {
        std::uint32_t place;
        std::uint32_t number;  ///< of equal records the one with the highest number counts
        std::uint64_t key;
        Ptr report;  ///< null: it is not wanted any more
    };

    auto& entries() const {
        if constexpr (OF_DEALS) {
            return m_ledger.m_deals;
        } else {
            return m_ledger.m_orders;
        }
    }
    static ledger::CSlicedCopies<std::uint32_t>& copiesOf(CLedger& ledger) {
        if constexpr (OF_DEALS) {
            return ledger.m_dealCopies;
        } else {
            return ledger.m_orderCopies;
        }
    }

    void begin() override;
    bool copySome(std::size_t most) override;
    bool copyCell(std::size_t& most);
    std::uint32_t prefetchEntry(std::uint32_t at) const;
    /// The place of a cell; none when it is not selected.
    std::optional<std::uint32_t> placeOf(std::uint32_t cell);
    void copyAgain(std::uint32_t entry) override;
    void copy(std::uint32_t place, std::uint32_t entry);
    bool isWanted(std::uint32_t entry) const;

    CLedger& m_ledger;
    const Which m_which;

    // how far it is
    std::uint32_t m_nAccount = 0;
    std::size_t m_nCell = 0;       ///< of the account
    std::uint32_t m_nPlace = 0;    ///< in hand
    std::uint32_t m_nNext = NONE;  ///< entry of this place
    std::vector<Place> m_places;
    std::unordered_map<std::uint32_t, std::uint32_t> m_placeOfCell;

    ledger::CPile<Copied> m_copied;
};

extern template class CLedger::CRecordsCopy<OrderPtr>;
extern template class CLedger::CRecordsCopy<DealPtr>;

}  // namespace TC

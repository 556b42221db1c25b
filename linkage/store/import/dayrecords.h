#pragma once

#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"

#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace TC {

struct PictureMembers;

}  // namespace TC

namespace TC::statement {

/// What two records must agree in to be the same trade at all: stock and side, for deals the
/// volume and the price as well, to a tenth of the smallest tick. A later list may correct the
/// volume of an order.
std::string valuesOf(const vexservice::CDealDetail& deal);
std::string valuesOf(const vexservice::COrderDetail& order);

/// The exchange's number of a record without blanks and zeros in front, which spreadsheet
/// programs drop; "" when it has none.
std::string systemNumber(const vexservice::CDealDetail& deal);
std::string systemNumber(const vexservice::COrderDetail& order);

/// What became of an imported record.
enum class EFate {
    Filed,     ///< it stands in the ledger
    Repeated,  ///< an earlier import filed it under the same key
    Matched,   ///< an earlier statement has it, in other words
    Reported,  ///< the trading system reports it itself
};

/// The records of one account and day from all sources, and which of the imported ones
/// stand in the ledger: each trade once, however it comes.
///
/// Reported records stand as they are. Each import is held against them and against the
/// imports before it, row by row:
/// - the same record key is the same trade;
/// - the same number is the same trade, where the values agree;
/// - of deals, equal values are the same trade where one of the two has no number and
///   two statements do not tell different times: so many rows of a list are taken for so
///   many that are known, none twice.
/// What remains is a trade of its own. The outcome depends on what is known, not on the
/// order in which reports and answers came.
///
/// Only trades of equal values meet. While all of them have numbers, only those of one
/// number meet, so a report then costs a look at these alone.
template <class Record>
class CDayRecords {
    friend struct TC::PictureMembers;

public:
    using Ptr = boost::shared_ptr<Record>;
    using Keys = std::set<std::uint64_t>;

    /// What the ledger is to file and to take away.
    struct Changes {
        std::vector<Ptr> file;
        Keys remove;
    };

    /// The trading system, or its server, reports a record; again when it changes. How many
    /// records it meets; 0 when nothing has changed.
    std::size_t report(const Record& record);
    /// It is not reported any more.
    void unreport(std::uint64_t key);
    /// These are all the records that were reported so far. They are taken in while settling.
    void link(std::vector<Ptr> reported);
    void add(int import, const Ptr& record);
    void drop(int import);

    /// Whether reported records were ever told.
    bool isLinked() const { return m_bLinked; }
    /// Nothing is left to settle.
    bool isSettled() const { return m_bLinked && !isAnyLeft(); }

    /// The newest record under a key, in any import.
    Ptr find(std::uint64_t key) const;

    /// The ledger has lost what was filed; settling files it again.
    void forgetFiled();

    /// Works through about so many records whose trades may have changed, and gives out so
    /// many changes; false when none is left. Records that meet are worked through together.
    bool settle(std::size_t records, Changes& changes);

    /// What became of records, by key, as far as it is known.
    using Fates = std::unordered_map<std::uint64_t, EFate>;
    class CFatesSoFar;
    /// What became of the records of an import; of all of them without a number. Reads about so
    /// many records, and goes on where it was; it begins again when anything has changed since, so
    /// that all is of one moment. False when none is left.
    bool fates(int import, std::size_t records, CFatesSoFar& soFar) const;

    /// The import that filed each record which stands, by key: the earliest that tells the trade.
    std::unordered_map<std::uint64_t, int> origins() const;

    bool hasImports() const { return !m_keys.empty(); }
    /// The records of all imports, each with the number of its import.
    std::vector<std::pair<int, Ptr>> imported() const;

private:
    struct Reported {
        std::uint64_t key;
        std::string number;
        std::string time;
    };
    struct Row {
        int import;
        Ptr record;
        EFate fate;
    };
    /// Records that meet.
    struct Group {
        std::vector<Reported> reported;
        std::vector<Row> rows;  ///< in the order of their imports
        std::vector<Ptr> filed;
        bool isTouched = false;

        std::size_t size() const { return rows.size() + reported.size(); }
    };
    using Groups = std::map<std::string, Group>;

    /// The group where a record belongs. One without a number brings all of its values
    /// together.
    typename Groups::iterator groupFor(const Record& record, const std::string& number);
    void forgetReported();
    void gather(const std::string& values);
    void touch(typename Groups::iterator group);
    /// What of a group is to stand in the ledger, by key; tells the fates.
    static std::unordered_map<std::uint64_t, Ptr> match(Group& group);
    void settleGroup(Group& group);
    bool isAnyLeft() const;
    void giveOut(std::size_t records, Changes& changes);
    void noteChange();

    std::uint64_t m_nVersion = 0;  ///< differs from that of every other state of any day
    Groups m_groups;               ///< by values, or by values and number
    std::unordered_map<std::uint64_t, std::string> m_reported;  ///< key to the name of its group
    std::unordered_map<std::uint64_t, std::vector<std::pair<int, Ptr>>> m_keys;
    std::vector<Ptr> m_toLink;
    std::deque<std::string> m_touched;      ///< a large vector would be moved in one go
    std::map<std::uint64_t, Ptr> m_toFile;  ///< by key
    Keys m_toRemove;
    bool m_bLinked = false;
};

template <class Record>
class CDayRecords<Record>::CFatesSoFar {
public:
    Fates fates;

private:
    friend class CDayRecords;
    static constexpr int MOST_BEGINNINGS = 3;
    std::uint64_t m_nVersion = 0;
    int m_nBegun = 0;
    typename Groups::const_iterator m_next;
};

extern template class CDayRecords<vexservice::CDealDetail>;
extern template class CDayRecords<vexservice::COrderDetail>;

}  // namespace TC::statement

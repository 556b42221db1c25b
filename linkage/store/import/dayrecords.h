#pragma once

#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"

#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
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

    using Reports = std::deque<Ptr>;  ///< a large vector would be moved in one go

    /// The trading system, or its server, reports a record; again when it changes. How many
    /// records it meets; 0 when nothing has changed.
    std::size_t report(const Record& record);
    /// It is not reported any more.
    void unreport(std::uint64_t key);
    /// Among these are all the records that were reported so far; of equal keys the last one
    /// counts, imported ones do not. They are taken in while settling.
    void link(Reports filed);
    void add(int import, const Ptr& record);
    /// Takes away the records of an import: looks at about so many from the key `next` on, and
    /// moves that on. False when none is left.
    bool drop(int import, std::size_t records, std::uint64_t& next);

    /// Whether reported records were ever told.
    bool isLinked() const { return m_bLinked; }
    /// Nothing is left to settle.
    bool isSettled() const { return m_bLinked && !isAnyLeft(); }

    /// The newest record under a key, in any import.
    Ptr find(std::uint64_t key) const;

    /// The ledger has lost what was filed; settling files it again.
    void forgetFiled();

    /// Works through about so many records whose trades may have changed, and gives what the
    /// ledger is to file, as many at most. Records that meet are worked through together.
    std::vector<Ptr> settle(std::size_t records);
    /// What the ledger is to take away: who does it takes its key out. Null while records are left
    /// whose trades may have changed, because what is to go would be looked for again and again.
    Keys* toRemove();

    /// What became of records, by key, as far as it is known.
    using Fates = std::unordered_map<std::uint64_t, EFate>;
    class CFatesSoFar;
    /// What became of the records of an import; of all of them without a number. Reads about so
    /// many records, and goes on where it was; what has changed since is read again, so that all
    /// is of one moment, that of the last call. False when none is left.
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
    struct ByImport {
        bool operator()(int import, const Row& row) const { return import < row.import; }
        bool operator()(const Row& row, int import) const { return row.import < import; }
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
    void dropRows(int import, const Record& record);
    bool isAnyLeft() const;
    std::vector<Ptr> giveOut(std::size_t records);
    /// What has changed since somebody began to read the fates.
    struct Changed {
        std::deque<std::string> groups;  ///< names
        bool isAny = false;              ///< it may be anything
    };
    void noteChange(const std::string& group);
    void noteChange();
    void beginFates(CFatesSoFar& soFar) const;
    static void readFates(int import, const Group& group, CFatesSoFar& soFar);

    // No hash tables: one that grows moves all it has in one hold of the lock.
    Groups m_groups;                                  ///< by values, or by values and number
    std::map<std::uint64_t, std::string> m_reported;  ///< key to the name of its group
    std::map<std::uint64_t, std::vector<std::pair<int, Ptr>>> m_keys;
    Reports m_toLink;
    std::deque<std::string> m_touched;
    std::map<std::uint64_t, Ptr> m_toFile;  ///< by key
    Keys m_toRemove;
    bool m_bLinked = false;
    mutable std::vector<std::weak_ptr<Changed>> m_readers;  ///< of fates
};

template <class Record>
class CDayRecords<Record>::CFatesSoFar {
public:
    CFatesSoFar() { m_read.reserve(2 * AGAIN); }
    /// Keeps what the last call of CDayRecords::fates() has read, and gives all that was read. To
    /// be called between two calls, without the lock: memory for much is slow to come.
    Fates& collect();

private:
    friend class CDayRecords;
    static constexpr int MOST_BEGINNINGS = 3;
    /// So much that has changed is read again in one call, so that it comes to an end.
    static constexpr std::size_t AGAIN = 1000;
    /// Who is kept from the next call for so long begins again.
    static constexpr std::size_t MOST_CHANGED = 1 << 16;

    int m_nBegun = 0;
    std::shared_ptr<Changed> m_changed;
    std::string m_next;  ///< name of a group: those before it were read
    bool m_bAllRead = false;
    std::vector<std::pair<std::uint64_t, EFate>> m_read;  ///< since the last collect()
    bool m_bAnew = false;                                 ///< it begins with these
    Fates m_fates;
};

extern template class CDayRecords<vexservice::CDealDetail>;
extern template class CDayRecords<vexservice::COrderDetail>;

}  // namespace TC::statement

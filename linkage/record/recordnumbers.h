#pragma once

#include "common/byaddress.h"
#include "common/prefetch.h"
#include "platform/records/idata.h"

#include <boost/shared_ptr.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <tuple>
#include <vector>

namespace TC {

/// Tells a record of the client from others.
struct RecordName {
    std::uint32_t account = 0;  ///< the number of its account
    std::uint32_t kind = 0;     ///< as recordName() gives it
    std::uint64_t key = 0;
    bool operator==(const RecordName&) const = default;
    friend bool operator<(const RecordName& a, const RecordName& b) {
        return std::tie(a.account, a.kind, a.key) < std::tie(b.account, b.kind, b.key);
    }
};

/// The numbers that records have in a recording: those of the two newest of each name, and of a
/// picture those of all until a newer one comes. A record that is freed could be taken for a later
/// one at its address, so these are kept.
///
/// A recording asks for each report, and a day has a million names. So a name is one line of the
/// cache, and its place is known before it is asked for.
///
/// Threads: one.
class CRecordNumbers {
public:
    using RecordPtr = boost::shared_ptr<const vexservice::IData>;

    /// 0: none.
    std::uint64_t find(const RecordName& name, const RecordPtr& record) const;
    /// The record is the newest one of its name. Throws std::bad_alloc.
    void add(const RecordName& name, const RecordPtr& record, std::uint64_t number);
    /// While it is on, what is added belongs to a picture.
    void keepAll(bool on) { m_bKeepAll = on; }
    /// find() is going to be called.
    void prefetch(const RecordName& name) const { utils::prefetch(&m_lines[homeOf(name)]); }

private:
    struct alignas(64) Line {
        RecordName name;
        std::array<RecordPtr, 2> records;  ///< the newest one last; null: no such record
        std::array<std::uint64_t, 2> numbers{};
    };

    std::size_t homeOf(const RecordName& name) const;
    /// Where the name is, or may be put.
    std::size_t placeOf(const RecordName& name) const;
    void grow();

    std::vector<Line> m_lines = std::vector<Line>(1024);  ///< a power of two
    std::size_t m_nUsed = 0;
    bool m_bKeepAll = false;
    /// Older ones of a picture: few.
    std::map<RecordName, std::map<RecordPtr, std::uint64_t, utils::ByAddress>> m_older;
};

}  // namespace TC

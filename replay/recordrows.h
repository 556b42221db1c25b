#pragma once

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <array>
#include <cstddef>
#include <utility>

namespace replay {

/// Makes records of one kind, a row of them in one piece of memory. The piece is freed with the
/// last record of its row.
///
/// A file read ahead has its records made on one thread and freed on another one, and the heap
/// takes a lock for each piece that another thread had allocated. A row makes this rare.
///
/// Threads: one makes records; any may read and release those that were made, also while others of
/// the same row are being made.
template <class Record>
class CRecordRows {
public:
    boost::shared_ptr<Record> make() {
        if (!m_pRow) m_pRow = boost::make_shared<Row>();
        Record* const record = &(*m_pRow)[m_used++];
        if (m_used < ROW) return {m_pRow, record};
        m_used = 0;
        return {std::exchange(m_pRow, nullptr), record};
    }

private:
    static constexpr std::size_t ROW = 16;
    using Row = std::array<Record, ROW>;

    boost::shared_ptr<Row> m_pRow;  ///< in which there is room
    std::size_t m_used = 0;
};

}  // namespace replay

#include "linkage/balance/bookwriter.h"

#include "platform/log.h"

#include <utility>

namespace TC {

namespace {
constexpr char BOOK_WRITER[] = "TC::CBookWriter";
}

void CBookWriter::note(const std::string& date, const std::string& line) {
    const std::lock_guard lock(m_mutex);
    m_lines.push_back({date, line});
    if (m_lines.size() <= MOST_LINES) return;
    m_lines.pop_front();
    g_VexStdLogger.error(BOOK_WRITER, "a line of the book of balances is lost");
}

bool CBookWriter::writeNow(const std::string& date, const std::string& line) {
    const std::lock_guard writing(m_writeMutex);
    // The noted lines go into the file first, because readers take the last line of each
    // balance.
    if (!writeNoted()) return false;
    if (m_pFile->append(date, line)) return true;
    m_bFailed = true;
    g_VexStdLogger.error(BOOK_WRITER, "the book of balances cannot be written");
    return false;
}

bool CBookWriter::flush() {
    const std::lock_guard writing(m_writeMutex);
    return writeNoted();
}

bool CBookWriter::hasLines() const {
    const std::lock_guard lock(m_mutex);
    return !m_lines.empty();
}

IBookFile::Text CBookWriter::read(const std::string& date) {
    const std::lock_guard writing(m_writeMutex);
    return m_pFile->read(date);
}

bool CBookWriter::writeNoted() {
    std::deque<Line> lines;
    {
        const std::lock_guard lock(m_mutex);
        lines.swap(m_lines);
    }
    while (!lines.empty()) {
        const std::string date = lines.front().date;
        std::string text;
        std::size_t count = 0;
        for (; count < lines.size() && lines[count].date == date; ++count) {
            text += lines[count].text;
        }
        if (!m_pFile->append(date, text)) {
            if (!std::exchange(m_bFailed, true)) {
                g_VexStdLogger.error(BOOK_WRITER,
                                     "the book of balances cannot be written; its lines wait");
            }
            const std::lock_guard lock(m_mutex);
            m_lines.insert(m_lines.begin(), lines.begin(), lines.end());
            return false;
        }
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(count));
    }
    if (std::exchange(m_bFailed, false)) {
        LINKAGE_LOG_INFO(BOOK_WRITER, "the book of balances is written again");
    }
    return true;
}

}  // namespace TC

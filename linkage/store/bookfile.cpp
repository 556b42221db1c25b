#include "linkage/store/bookfile.h"

namespace TC {

std::string CBookFile::pathOf(const std::string& date) const {
    return m_strDirectory + "/balances-" + date + ".jsonl";
}

bool CBookFile::append(const std::string& date, const std::string& lines) {
    if (!m_pFiles->makeDirectory(m_strDirectory)) return false;
    const std::string path = pathOf(date);
    const bool sound = m_strSoundDate == date;
    m_strSoundDate.clear();
    // A write that was cut short left half a line: the next one begins behind it.
    bool torn = false;
    if (!sound) {
        std::string bytes;
        const auto read = m_pFiles->read(path, bytes);
        torn = read == IFileSystem::ERead::Failed || (!bytes.empty() && bytes.back() != '\n');
    }
    const int file = m_pFiles->append(path);
    if (file < 0) return false;
    bool done = m_pFiles->write(file, torn ? "\n" + lines : lines) && m_pFiles->flush(file);
    done = m_pFiles->close(file) && done;
    if (done && !sound) done = m_pFiles->flushDirectory(m_strDirectory);
    if (done) m_strSoundDate = date;
    return done;
}

IBookFile::Text CBookFile::read(const std::string& date) {
    Text text;
    text.readable = m_pFiles->read(pathOf(date), text.bytes) != IFileSystem::ERead::Failed;
    return text;
}

}  // namespace TC

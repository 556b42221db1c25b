#include "linkage/store/bookfile.h"

#include "platform/log.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace TC {

namespace {

std::string diskFault(const std::string& path, int error) {
    return path + " : " + std::generic_category().message(error);
}

}  // namespace

// Where the book of a date is; the name itself when its link leads in circles.
std::string CBookFile::pathOf(const std::string& date) const {
    const std::string path = m_strDirectory + "/balances-" + date + ".jsonl";
    return m_pFiles->target(path).value_or(path);
}

bool CBookFile::report(const std::string& fault) {
    if (std::exchange(m_strFault, fault) != fault && !fault.empty()) {
        g_VexStdLogger.error("TC::CBookFile", "the book of balances is left as it is : " + fault);
    }
    return fault.empty();
}

bool CBookFile::append(const std::string& date, const std::string& lines) {
    return report(appendTo(date, lines));
}

std::string CBookFile::appendTo(const std::string& date, const std::string& lines) {
    if (!m_pFiles->makeDirectory(m_strDirectory)) return diskFault(m_strDirectory, errno);
    const CDirectoryLock::Hold hold = m_pLock->take();
    if (!hold.fault.empty()) return hold.fault;

    const std::string path = pathOf(date);
    const auto stamp = m_pFiles->stamp(path);
    if (!stamp) return diskFault(path, errno);
    Known& known = m_known[date];
    const bool isOurs = known.generation == hold.generation;
    if (!isOurs && stamp->exists && known.stamp != *stamp) {
        return path + " : somebody else wrote it";
    }
    if (static_cast<std::size_t>(stamp->size) + lines.size() >= IFileSystem::MOST_BYTES) {
        return diskFault(path, EFBIG);
    }
    const bool done = write(path, lines, isOurs && known.sound && stamp->exists);
    const int why = errno;
    known = {hold.generation, m_pFiles->stamp(path).value_or(FileStamp()), done};
    return done ? std::string() : diskFault(path, why);
}

bool CBookFile::write(const std::string& path, const std::string& lines, bool sound) {
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
    if (!done || sound) return done;
    return m_pFiles->flushDirectory(std::filesystem::path(path).parent_path().string());
}

IBookFile::Text CBookFile::read(const std::string& date) {
    Text text;
    text.readable = report(readFrom(date, text.bytes));
    return text;
}

std::string CBookFile::readFrom(const std::string& date, std::string& bytes) {
    CDirectoryLock::Hold hold;
    const auto directory = m_pFiles->stamp(m_strDirectory);
    // Nobody has a book where there is no directory.
    if (!directory || directory->exists) hold = m_pLock->take();
    if (!hold.fault.empty()) return hold.fault;

    const std::string path = pathOf(date);
    const auto stamp = m_pFiles->stamp(path);
    const auto read = m_pFiles->read(path, bytes);
    const bool done = read == IFileSystem::ERead::Done || read == IFileSystem::ERead::Missing;
    if (!stamp || !done) return diskFault(path, errno);
    m_known[date] = {hold.generation, *stamp};
    return {};
}

}  // namespace TC

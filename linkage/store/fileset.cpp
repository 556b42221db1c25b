#include "linkage/store/fileset.h"

#include "platform/log.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace TC {

namespace {

using ERead = IFileSystem::ERead;

constexpr char FILE_SET[] = "TC::CLinkageManager::writedata";
constexpr char COMMIT_MARK[] = ".commit";

std::string stagePath(const std::string& path) { return path + ".new"; }

std::string parentOf(const std::string& path) {
    return std::filesystem::path(path).parent_path().string();
}

std::string changedBy(const std::string& path) {
    return path + " : somebody else changed the file, left as it is";
}

}  // namespace

CFileSet::CFileSet(std::string directory, IFileSystem& files, CDirectoryLock& lock)
    : m_directory(std::move(directory)), m_files(files), m_lock(lock) {}

std::string CFileSet::pathOf(const std::string& name) const { return m_directory + "/" + name; }

bool CFileSet::isThere() const {
    const auto directory = m_files.stamp(m_directory);
    return directory && directory->exists;
}

CFileSet::Fault CFileSet::faultAt(const std::string& path) const {
    return path + " : " + std::generic_category().message(errno);
}

// Where the file of a name is; the name itself when its link leads in circles, so that
// whoever opens it learns so.
std::string CFileSet::targetOf(const std::string& name) {
    const std::string path = pathOf(name);
    return m_files.target(path).value_or(path);
}

// ------------------------------------------------------------------- reading

CFileSet::Found CFileSet::found(const std::string& path) {
    std::string bytes;
    switch (m_files.read(path, bytes)) {
        case ERead::Done:
            return {commit::digest(bytes), {}};
        case ERead::Missing:
            return {};
        default:
            return {{}, faultAt(path)};
    }
}

// The same for a file of the set, which is read only when it is not as it was left.
CFileSet::Found CFileSet::now(const std::string& name) {
    const std::string path = targetOf(name);
    const auto stamp = m_files.stamp(path);
    if (!stamp) return {{}, faultAt(path)};
    Known& known = m_known[name];
    if (!stamp->exists || (known.read && known.stamp == *stamp)) {
        return {stamp->exists ? known.digest : "", {}};
    }
    Found there = found(path);
    if (known.read && there.digest == known.digest) known.stamp = *stamp;
    return there;
}

void CFileSet::open() {
    if (!isThere()) return;
    Fault fault = takeLock();
    if (fault.empty()) fault = settle();
    if (!fault.empty()) LINKAGE_LOG_WARNING(FILE_SET, "{0}", fault);
    // Who may not or cannot end what was begun reads it as if he had.
    if (m_bMark && !m_mark) readMark(m_mark);
}

ERead CFileSet::read(const std::string& name, std::string& bytes) {
    const std::string path = targetOf(name);
    const auto stamp = m_files.stamp(path);
    ERead result = m_files.read(path, bytes);
    Known& known = m_known[name];
    known = {};
    if (!stamp || (result != ERead::Done && result != ERead::Missing)) return result;
    known = {true, result == ERead::Done ? commit::digest(bytes) : "", *stamp};
    if (m_bLocked && !m_bMark) {
        // What an ended process left there counts for nothing.
        const auto left = m_files.stamp(stagePath(path));
        if (left && left->exists) m_files.remove(stagePath(path));
    }
    if (!m_mark || !m_mark->count(name)) return result;

    const commit::Change& change = m_mark->at(name);
    std::string beside;
    const ERead staged = m_files.read(stagePath(path), beside);
    const std::string digest = staged == ERead::Done ? commit::digest(beside) : "";
    switch (commit::stepFor(change, known.digest, digest)) {
        case commit::EStep::Place:
            bytes = std::move(beside);
            return ERead::Done;
        case commit::EStep::Remove:
            bytes.clear();
            return ERead::Missing;
        default:
            return result;
    }
}

// ------------------------------------------------------------------- asking

CFileSet::Fault CFileSet::takeLock() {
    const CDirectoryLock::Hold hold = m_lock.take();
    m_bLocked = hold.fault.empty();
    if (m_bLocked && std::exchange(m_nGeneration, hold.generation) != hold.generation) {
        // Another client may have settled the mark that was seen, and set others.
        m_mark.reset();
        m_bMark = true;
    }
    return hold.fault;
}

CFileSet::Fault CFileSet::prepare() {
    if (!m_files.makeDirectory(m_directory)) return faultAt(m_directory);
    if (Fault fault = takeLock(); !fault.empty()) return fault;
    return settle();
}

CFileSet::Fault CFileSet::mayReplace(const std::string& name) {
    const std::string path = targetOf(name);
    // A rename would replace even a file that its owner has closed to writing.
    if (!m_files.mayWrite(path)) return path + " : file not writable, left as it is";
    return mayRemove(name);
}

CFileSet::Fault CFileSet::mayRemove(const std::string& name) {
    const std::string path = targetOf(name);
    const auto stamp = m_files.stamp(path);
    if (!stamp) return faultAt(path);
    if (!stamp->exists) return {};
    const Known known = m_known[name];
    if (!known.read) return path + " : file was not read at the start, left as it is";
    const Found there = now(name);
    if (!there.fault.empty()) return there.fault;
    if (there.digest != known.digest) return changedBy(path);
    return m_keep.count(name) ? copyBeside(name) : Fault();
}

CFileSet::Fault CFileSet::copyBeside(const std::string& name) {
    const std::string path = pathOf(name);
    std::string bytes;
    if (m_files.read(path, bytes) != ERead::Done) return faultAt(path);
    for (int number = 1; number < 1000; ++number) {
        std::string beside = path + ".unreadable";
        if (number > 1) beside += "." + std::to_string(number);
        const auto stamp = m_files.stamp(beside);
        if (stamp && stamp->exists) continue;
        if (Fault fault = writeWhole(beside, path, bytes); !fault.empty()) return fault;
        if (!m_files.flushDirectory(m_directory)) return faultAt(m_directory);
        LINKAGE_LOG_WARNING(FILE_SET, "file not readable : {0}, kept as {1}", path, beside);
        m_keep.erase(name);
        return {};
    }
    return path + " : no name is left for a copy";
}

// ------------------------------------------------------------------ changing

CFileSet::Fault CFileSet::writeWhole(const std::string& path, const std::string& like,
                                     const std::string& bytes) {
    if (bytes.size() > IFileSystem::MOST_BYTES) {
        errno = EFBIG;
        return faultAt(path);
    }
    const int file = m_files.create(path, like);
    if (file < 0) return faultAt(path);
    Fault fault;
    if (!m_files.write(file, bytes) || !m_files.flush(file)) fault = faultAt(path);
    if (!m_files.close(file) && fault.empty()) fault = faultAt(path);
    if (!fault.empty()) m_files.remove(path);
    return fault;
}

CFileSet::Fault CFileSet::stage(const std::string& name, const std::string& bytes) {
    const std::string path = targetOf(name);
    return writeWhole(stagePath(path), path, bytes);
}

void CFileSet::discard(const std::string& name) { m_files.remove(stagePath(targetOf(name))); }

CFileSet::Outcome CFileSet::commit(const std::vector<Change>& changes) {
    commit::Mark mark;
    for (const Change& change : changes) {
        const Found there = now(change.name);
        if (!there.fault.empty()) return {there.fault};
        const bool isMissing = there.digest.empty();
        if (!isMissing && there.digest != m_known[change.name].digest) {
            return {changedBy(targetOf(change.name))};
        }
        if (change.digest || !isMissing) {
            mark[change.name] = {there.digest, change.digest.value_or("")};
        }
    }
    if (mark.empty()) return {{}, true};
    m_left.clear();
    if (mark.size() == 1) {
        Fault fault = applyOne(mark.begin()->first, mark.begin()->second);
        if (fault.empty()) fault = m_left;
        if (fault.empty()) fault = flushDirectories(mark);
        return {fault, fault.empty()};
    }
    // What the mark lists must be there whenever the mark is.
    if (Fault fault = flushDirectories(mark); !fault.empty()) return {fault};
    if (Fault fault = writeMark(mark); !fault.empty()) return {fault};
    // From here on it cannot be taken back: the mark may outlive the process.
    m_bMark = true;
    m_mark = mark;
    Fault fault = settle();
    return {fault.empty() ? m_left : fault, true};
}

CFileSet::Fault CFileSet::writeMark(const commit::Mark& mark) {
    const std::string path = pathOf(COMMIT_MARK);
    const std::string stage = stagePath(path);
    if (Fault fault = writeWhole(stage, path, commit::textOf(mark)); !fault.empty()) return fault;
    if (m_files.rename(stage, path)) return {};
    Fault fault = faultAt(path);
    m_files.remove(stage);
    return fault;
}

CFileSet::Fault CFileSet::readMark(std::optional<commit::Mark>& mark) {
    const std::string path = pathOf(COMMIT_MARK);
    std::string text;
    switch (m_files.read(path, text)) {
        case ERead::Done:
            break;
        case ERead::Missing:
            m_bMark = false;
            return {};
        default:
            return faultAt(path);
    }
    mark = commit::markFrom(text);
    if (!mark)
        LINKAGE_LOG_WARNING(FILE_SET, "{0} : no commit mark, what it lists is not taken", path);
    return {};
}

// Ends what was begun. The names are flushed first, because a mark that is seen need not
// be on disk yet, and again before the mark goes.
CFileSet::Fault CFileSet::settle() {
    if (!m_bMark) return {};
    if (!m_mark) {
        if (Fault fault = readMark(m_mark); !fault.empty()) return fault;
        if (!m_bMark) return {};
    }
    if (m_mark) {
        if (!m_files.flushDirectory(m_directory)) return faultAt(m_directory);
        if (Fault fault = apply(*m_mark); !fault.empty()) return fault;
        if (Fault fault = flushDirectories(*m_mark); !fault.empty()) return fault;
    }
    m_mark.reset();
    // One that stays would be obeyed again, after other changes.
    if (!m_files.remove(pathOf(COMMIT_MARK)) && errno != ENOENT)
        return faultAt(pathOf(COMMIT_MARK));
    m_bMark = false;
    return {};
}

CFileSet::Fault CFileSet::apply(const commit::Mark& mark) {
    for (const auto& [name, change] : mark) {
        if (Fault fault = applyOne(name, change); !fault.empty()) return fault;
    }
    return {};
}

CFileSet::Fault CFileSet::applyOne(const std::string& name, const commit::Change& change) {
    const std::string path = targetOf(name);
    const Found there = now(name);
    if (!there.fault.empty()) return there.fault;
    const Found beside = change.after.empty() ? Found() : found(stagePath(path));
    if (!beside.fault.empty()) return beside.fault;
    switch (commit::stepFor(change, there.digest, beside.digest)) {
        case commit::EStep::None:
            if (!beside.digest.empty()) m_files.remove(stagePath(path));
            break;
        case commit::EStep::Place:
            if (!m_files.rename(stagePath(path), path)) return faultAt(path);
            break;
        case commit::EStep::Remove:
            if (!m_files.remove(path)) return faultAt(path);
            break;
        case commit::EStep::Leave:
            m_left = changedBy(path);
            LINKAGE_LOG_WARNING(FILE_SET, "{0}", m_left);
            return {};
    }
    learn(name, change.after);
    return {};
}

void CFileSet::learn(const std::string& name, const std::string& digest) {
    const auto stamp = m_files.stamp(targetOf(name));
    m_known[name] = {true, digest, stamp.value_or(FileStamp())};
}

CFileSet::Fault CFileSet::flushDirectories(const commit::Mark& mark) {
    std::set<std::string> directories;
    for (const auto& [name, change] : mark) directories.insert(parentOf(targetOf(name)));
    directories.insert(m_directory);
    for (const std::string& directory : directories) {
        if (!m_files.flushDirectory(directory)) return faultAt(directory);
    }
    return {};
}

}  // namespace TC

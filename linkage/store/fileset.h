#pragma once

#include "linkage/store/commitmark.h"
#include "linkage/store/directorylock.h"
#include "linkage/store/filesystem.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace TC {

/// The files of one directory as one set: a change of several takes place as a whole or
/// not at all, whatever fails and wherever the process ends.
///
/// 1. Each new content is written beside its file ("<name>.new") and flushed, and the
///    directory with it.
/// 2. A commit mark (".commit") that lists the changes is written, flushed, renamed to its
///    name and flushed with the directory. Now the change counts.
/// 3. The files change names, the directory is flushed, the mark goes.
///
/// Whoever reads while a mark stands reads what the mark says; the next change first ends
/// what was begun. A change of a single file needs no mark.
///
/// Nothing is replaced or removed that was not read here: a file that is another one than
/// at the last read or write stays, and the change fails. Nobody changes a directory without
/// its lock. Where a name is a link, the file that it leads to is changed.
///
/// Failure: a text that says what failed, "" for none; nothing throws but bad_alloc.
/// Threads: one at a time, but for stage() and discard(), which touch no state.
class CFileSet {
public:
    using Fault = std::string;

    /// A file's new state: put what was staged in place, or remove the file.
    struct Change {
        std::string name;
        std::optional<std::string> digest;  ///< of what was staged; none: remove
    };
    struct Outcome {
        Fault fault;
        bool counts = false;  ///< the change is made, or will be when the disk allows
    };

    /// `files` and `lock` outlive the set.
    CFileSet(std::string directory, IFileSystem& files, CDirectoryLock& lock);
    CFileSet(const CFileSet&) = delete;
    CFileSet& operator=(const CFileSet&) = delete;

    std::string pathOf(const std::string& name) const;
    bool isThere() const;  ///< the directory

    /// Before files are read: takes the lock and ends what was begun, where that can be
    /// done now. Where not, read() gives the same contents.
    void open();

    /// A file's bytes. What a save that does not count left beside it goes.
    IFileSystem::ERead read(const std::string& name, std::string& bytes);
    /// What was read means nothing to the reader: a copy is made before it is replaced.
    void keepCopyOf(const std::string& name) { m_keep.insert(name); }

    /// Before files are staged: the directory is there, is ours, and nothing is half done.
    Fault prepare();
    /// Whether the file may be replaced, or removed: it is what was read here, or missing.
    /// A file that is closed to writing may go and is not replaced.
    Fault mayReplace(const std::string& name);
    Fault mayRemove(const std::string& name);

    /// Writes a content beside its file.
    Fault stage(const std::string& name, const std::string& bytes);
    void discard(const std::string& name);

    /// Makes changes. Call prepare() first under the same lock.
    Outcome commit(const std::vector<Change>& changes);

private:
    /// What a file was when it was last read or written here.
    struct Known {
        bool read = false;
        std::string digest;
        FileStamp stamp;
    };
    struct Found {
        std::string digest;  ///< "" for no file
        Fault fault;
    };

    Fault faultAt(const std::string& path) const;
    std::string targetOf(const std::string& name);
    Found found(const std::string& path);
    Found now(const std::string& name);
    Fault takeLock();
    Fault writeWhole(const std::string& path, const std::string& like, const std::string& bytes);
    Fault writeMark(const commit::Mark& mark);
    Fault readMark(std::optional<commit::Mark>& mark);
    Fault settle();
    Fault apply(const commit::Mark& mark);
    Fault applyOne(const std::string& name, const commit::Change& change);
    Fault flushDirectories(const commit::Mark& mark);
    Fault copyBeside(const std::string& name);
    void learn(const std::string& name, const std::string& digest);

    const std::string m_directory;
    IFileSystem& m_files;
    CDirectoryLock& m_lock;
    std::map<std::string, Known> m_known;
    std::set<std::string> m_keep;
    std::optional<commit::Mark> m_mark;  ///< while it stands and is not settled
    bool m_bMark = true;                 ///< a mark may stand
    int m_nGeneration = 0;               ///< of the lock; 0: never had it
    bool m_bLocked = false;
    Fault m_left;  ///< the file of the change under way that somebody else changed
};

}  // namespace TC

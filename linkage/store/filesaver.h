#pragma once

#include "linkage/core/door.h"
#include "linkage/core/mutex.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/directorylock.h"
#include "linkage/store/fileencoding.h"
#include "linkage/store/fileset.h"
#include "linkage/store/filesystem.h"

#include <boost/shared_ptr.hpp>
#include <boost/thread/thread.hpp>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace TC {

/// Reads, rewrites and removes the files of the Balance directory.
///
/// Saving. A request is noted and served by a thread of its own; requests made before it
/// gets to them are served together, so there is at most one save thread and one waiting
/// save however many ask. What is written is taken under the manager's lock, in one hold; the
/// texts are made, encoded and written without it. All files of a save take their places together
/// or none does (CFileSet).
///
/// Failure. A save that fails is tried again: with the next request, by finish(), and by
/// retry(), for which the owner is asked. What is written then is what is composed then. A
/// failure that lasts until a retry(), or until the end, is logged, once for each reason; a
/// moment without room on the disk is not.
///
/// Order. What was composed, and each removal, has a number, given under the manager's
/// lock; a file never goes back to an earlier number, whichever thread gets to the disk
/// first. So nothing that was composed before a removal comes back after it.
///
/// Loss. A file that is in no known encoding is left as it is and named in the log. Before
/// a save replaces or a removal takes it, its bytes are copied to a name of their own
/// ("detail.csv.unreadable"). A file that could not be read, or that somebody else changed,
/// stays, and so does the whole set: what is saved without having been read would be lost.
///
/// Threads: any. Locks: the manager's lock may be held by the caller throughout.
class CFileSaver {
public:
    /// File name to text; a file with an empty text is removed.
    using Texts = std::map<std::string, std::string>;

    /// What the owner does for the saver.
    struct Composer {
        /// Take what the files hold as things stand now; called under the manager's lock. What
        /// they give makes the texts of that, and is called without the lock.
        std::function<std::function<Texts()>(bool withTime)> all;
        std::function<std::function<Texts()>()> balanceTimes;
        /// Calls retry() after a while; false when that cannot be done yet. Called from any
        /// thread, without a lock of the saver.
        std::function<bool()> retryLater = {};
        /// Does a part of what would take long in the hold in which the files are taken; false
        /// when nothing is left. Takes the manager's lock.
        std::function<bool()> prepare = {};
    };

    using StartThread = std::function<boost::thread(std::function<void()>)>;

    /// Where and how the files are kept.
    struct Place {
        std::string directory;
        EFileEncoding encoding = EFileEncoding::Utf8;
    };

    /// `mutex` is the manager's lock and `door` its door; both outlive the saver.
    CFileSaver(CRecursiveMutex& mutex, boost::shared_ptr<CDoor> door, Place place,
               Composer composer, std::unique_ptr<IFileSystem> files, StartThread startThread = {});
    /// Drops what is still asked for; call finish() first.
    ~CFileSaver();
    CFileSaver(const CFileSaver&) = delete;
    CFileSaver& operator=(const CFileSaver&) = delete;

    /// The texts of those files that are there and can be read, as one set. Makes an end of
    /// what an earlier process began.
    Texts load();

    /// Ask for all three files, or for the statistics with the balance times. Throws
    /// boost::thread_resource_error when the thread cannot be started; the request then
    /// stands and is served with the next one or by finish().
    void saveAll(bool withTime);
    void saveBalanceTimes();

    /// Tries once more what failed, if anything did.
    void retry();

    /// Serves what is still asked for and waits until it, and what other threads are
    /// writing, is on disk or has failed; what failed is tried once more. Never waits for a
    /// thread that waits for the manager's lock. What cannot be composed is logged and still
    /// stands; nothing throws.
    void finish();

    /// Removes files, all or none; a removal that fails is tried again like a save. Hold the
    /// manager's lock and change the manager's state under the same hold. Waits for files
    /// being put in place, not for their writing.
    void remove(std::initializer_list<const char*> names);

    /// The lock of the directory, for who keeps other files there.
    const std::shared_ptr<CDirectoryLock>& directoryLock() const { return m_pLock; }

private:
    /// What is asked for. All files supersede a wish for the balance times made earlier,
    /// because both write the statistics and the last one decides.
    struct Wishes {
        std::optional<bool> all = {};  ///< with time
        bool balanceTimes = false;
    };
    struct Save {
        std::uint64_t number = 0;
        std::vector<std::function<Texts()>> taken = {};
        Texts texts = {};
    };
    struct Writing;

    static Wishes merged(const Wishes& earlier, const Wishes& later);
    void ask(const Wishes& wishes);
    void startThread();
    void run();
    bool serve(bool onSaveThread);
    std::optional<Wishes> take(bool onSaveThread);
    void prepare();
    Save takeFiles(const Wishes& wishes) LINKAGE_REQUIRES(m_managerMutex);
    void compose(Save& save, const Wishes& wishes);
    void putBack(const Wishes& wishes);
    CFileSet::Fault commit(const Save& save);
    CFileSet::Fault stage(const Save& save, std::vector<CFileSet::Change>& staged);
    CFileSet::Fault putInPlace(std::vector<CFileSet::Change> changes, std::uint64_t number);
    void discard(const std::vector<CFileSet::Change>& staged);
    void addRemovals(std::vector<CFileSet::Change>& changes);
    CFileSet::Fault removeNow(std::initializer_list<const char*> names);
    void report(const CFileSet::Fault& fault);
    bool asksForRetry();
    void logFault();
    void waitForWriters();

    CRecursiveMutex& m_managerMutex;
    const boost::shared_ptr<CDoor> m_pDoor;
    const Place m_place;
    const Composer m_composer;
    const std::shared_ptr<IFileSystem> m_pFiles;
    const std::shared_ptr<CDirectoryLock> m_pLock;
    const StartThread m_startThread;

    std::uint64_t m_nNumber LINKAGE_GUARDED_BY(m_managerMutex) = 0;

    std::mutex m_mutex;  ///< held for moments; taken after the manager's lock, if both
    std::condition_variable m_written;
    std::optional<Wishes> m_wishes;
    std::optional<Wishes> m_failed;  ///< to be tried again
    CFileSet::Fault m_fault;         ///< why, "" when all is saved
    std::string m_strLogged;         ///< the reason that was logged last, "" when all is saved
    bool m_bLasts = false;           ///< it has lasted until a retry()
    bool m_bRetries = false;         ///< retry() will be called
    bool m_bThread = false;          ///< a save thread is about
    int m_nWriting = 0;              ///< saves composed and not yet done with
    boost::thread m_thread;

    std::mutex m_stageMutex;  ///< one save at a time is written beside; taken before the next
    std::mutex m_placeMutex;  ///< files change names; held for moments
    CFileSet m_set;           ///< under m_placeMutex, but for what is staged
    std::map<std::string, std::uint64_t> m_newest;  ///< by file, the number on disk
    std::set<std::string> m_removals;               ///< files that are still to be removed
};

}  // namespace TC

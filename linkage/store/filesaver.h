#pragma once

#include "linkage/core/door.h"
#include "linkage/core/mutex.h"
#include "linkage/export.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/fileencoding.h"
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
/// save however many ask. What is written is composed under the manager's lock; encoding
/// and writing happen without it. Each file is replaced whole: written beside, flushed,
/// renamed. All files of a save are flushed before the first is renamed. A step that
/// fails leaves the old file, says nothing, and the next save tries afresh.
///
/// Order. What was composed, and each removal, has a number, given under the manager's
/// lock; a file never goes back to an earlier number, whichever thread gets to the disk
/// first. So nothing that was composed before a removal comes back after it.
///
/// Loss. A file that could not be read, or is in no known encoding, is left as it is and
/// named in the log. Before a save replaces or a removal takes such a file, its bytes are
/// copied to a name of their own ("detail.csv.unreadable"); while that cannot be done the
/// file stays and is not saved.
///
/// Threads: any. Locks: the manager's lock may be held by the caller throughout.
class LINKAGE_EXPORT CFileSaver {
public:
    /// File name to text.
    using Texts = std::map<std::string, std::string>;

    /// Composes the files as they stand now; called under the manager's lock.
    struct Composer {
        std::function<Texts(bool withTime)> all;
        std::function<Texts()> balanceTimes;
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

    /// The text of a file; nothing when it is missing or cannot be read.
    std::optional<std::string> load(const std::string& name);

    /// Ask for all three files, or for the statistics with the balance times. Nothing
    /// happens when the directory cannot be made. Throws boost::thread_resource_error
    /// when the thread cannot be started; the request then stands and is served with the
    /// next one or by finish().
    void saveAll(bool withTime);
    void saveBalanceTimes();

    /// Serves what is still asked for and waits until it, and what other threads are
    /// writing, is on disk or has failed. Never waits for a thread that waits for the
    /// manager's lock. What cannot be composed is logged and still stands; nothing throws.
    void finish();

    /// Removes files. Hold the manager's lock and change the manager's state under the
    /// same hold. Waits for files being put in place, not for their writing.
    void remove(std::initializer_list<const char*> names);

private:
    /// What is asked for. All files supersede a wish for the balance times made earlier,
    /// because both write the statistics and the last one decides.
    struct Wishes {
        std::optional<bool> all;  ///< with time
        bool balanceTimes = false;
    };
    struct Save {
        std::uint64_t number = 0;
        Texts texts;
    };
    struct Writing;

    template <class Note>
    void ask(Note note);
    void run();
    bool serve(bool onSaveThread);
    std::optional<Wishes> take(bool onSaveThread);
    Save compose(const Wishes& wishes) LINKAGE_REQUIRES(m_managerMutex);
    void putBack(Wishes wishes);
    void commit(const Save& save);
    void putInPlace(const std::vector<std::string>& staged, std::uint64_t number);
    std::string pathOf(const std::string& name) const;
    bool writeWhole(const std::string& path, const std::string& like, const std::string& bytes);
    bool freeName(const std::string& name);
    std::optional<std::string> freshNameBeside(const std::string& path);

    CRecursiveMutex& m_managerMutex;
    const boost::shared_ptr<CDoor> m_pDoor;
    const Place m_place;
    const Composer m_composer;
    const std::unique_ptr<IFileSystem> m_pFiles;
    const StartThread m_startThread;

    std::uint64_t m_nNumber LINKAGE_GUARDED_BY(m_managerMutex) = 0;

    std::mutex m_mutex;  ///< held for moments; taken after the manager's lock, if both
    std::condition_variable m_written;
    std::optional<Wishes> m_wishes;
    bool m_bThread = false;  ///< a save thread is about
    int m_nWriting = 0;      ///< saves composed and not yet done with
    boost::thread m_thread;

    std::mutex m_stageMutex;  ///< one save at a time is written beside; taken before the next
    std::mutex m_placeMutex;  ///< files change names; held for moments
    std::map<std::string, std::uint64_t> m_newest;  ///< by file, the number on disk
    std::set<std::string> m_unreadable;             ///< files that must not be lost
};

}  // namespace TC

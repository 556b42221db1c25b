#pragma once

#include "linkage/core/door.h"
#include "linkage/store/directorylock.h"
#include "linkage/store/fileset.h"
#include "linkage/store/filesystem.h"

#include <boost/shared_ptr.hpp>
#include <boost/thread/thread.hpp>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace TC {

/// The files of the imports that stand: "import-000001.jsonl" and so on in the directory
/// "imports" of the Balance directory. A file is written once, whole, and stays as it is until
/// its import is taken back.
///
/// They keep what the three files promise (CFileSet), under the same lock of the Balance
/// directory, but each for itself: an import that cannot be saved keeps back nothing else.
///
/// Failure: a change that fails is tried again with the next one, by finish(), and by retry(),
/// for which the owner is asked. It is logged, once for each reason.
///
/// Threads: any. The manager's lock may be held, and is never asked for.
class CImportStore {
public:
    /// `lock` is that of the Balance directory. `retryLater` calls retry() after a while;
    /// false when that cannot be done yet. `door` is the manager's.
    CImportStore(std::string directory, std::unique_ptr<IFileSystem> files,
                 std::shared_ptr<CDirectoryLock> lock, boost::shared_ptr<CDoor> door,
                 std::function<bool()> retryLater);
    ~CImportStore();
    CImportStore(const CImportStore&) = delete;
    CImportStore& operator=(const CImportStore&) = delete;

    /// The numbers of the imports that have a file, in rising order.
    std::vector<int> numbers() const;
    /// The text of an import; nothing, and a line in the log, when it cannot be read.
    std::optional<std::string> load(int number);

    enum class ESave {
        Done,     ///< it is on disk
        Later,    ///< it will be tried again
        TooLarge  ///< no file may be so large; it is never saved
    };
    /// Waits for the disk.
    ESave save(int number, std::string text);
    void remove(int number);

    /// Tries once more what failed, on a thread of its own; call it on the strand only.
    void retry();
    /// The same on this thread. Also waits for a retry that is under way.
    void finish();

private:
    /// The text of a file that is to be written, or nothing: it is to be removed.
    using Content = std::optional<std::string>;

    void serve();
    CFileSet::Fault change(const std::string& name, const Content& content);
    void report(const CFileSet::Fault& fault);
    void joinRetry();

    const std::string m_directory;
    const std::unique_ptr<IFileSystem> m_pFiles;
    const std::shared_ptr<CDirectoryLock> m_pLock;
    const boost::shared_ptr<CDoor> m_pDoor;
    const std::function<bool()> m_retryLater;

    mutable std::mutex m_mutex;  ///< held while files are written
    CFileSet m_set;
    std::map<int, Content> m_pending;      ///< by number
    std::string m_strFault;                ///< that was logged last, "" when all is saved
    bool m_bRetries = false;               ///< retry() will be called
    std::atomic<bool> m_bRetrying{false};  ///< the last retry is at work
    boost::thread m_thread;                ///< of the last retry
};

}  // namespace TC

#pragma once

#include "linkage/store/filesystem.h"

#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace TC {

/// Whether a directory is this client's to change: its lock file (".lock") is locked. The lock
/// ends with the object or with the process.
///
/// Threads: any.
class CDirectoryLock {
public:
    CDirectoryLock(std::string directory, std::shared_ptr<IFileSystem> files)
        : m_directory(std::move(directory)), m_pFiles(std::move(files)) {}
    ~CDirectoryLock();
    CDirectoryLock(const CDirectoryLock&) = delete;
    CDirectoryLock& operator=(const CDirectoryLock&) = delete;

    /// What take() found.
    struct Hold {
        std::string fault;   ///< why the directory is not ours, "" when it is
        int generation = 0;  ///< rises when the lock was lost, for others may have come between
    };

    /// Takes the lock, or sees that it still holds. The directory must be there.
    Hold take();

private:
    const std::string m_directory;
    const std::shared_ptr<IFileSystem> m_pFiles;
    std::mutex m_mutex;
    int m_nFile = -1;
    int m_nGeneration = 0;
};

}  // namespace TC

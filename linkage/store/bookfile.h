#pragma once

#include "linkage/balance/bookwriter.h"
#include "linkage/store/directorylock.h"
#include "linkage/store/filesystem.h"

#include <map>
#include <memory>
#include <string>

namespace TC {

/// The files "balances-yyyyMMdd.jsonl" of the Balance directory, UTF-8. Lines are appended and
/// flushed, with the directory when the file is new. Nothing is ever taken away.
///
/// A book belongs to who has the lock of the directory: without it nothing is written, and
/// nothing is read, because another client goes on with what stands there. Nor are lines
/// appended to a book that was not read here, or that may have other lines since; one that is
/// larger than IFileSystem::MOST_BYTES is neither read nor grown. The log says why, once.
class CBookFile final : public IBookFile {
public:
    CBookFile(std::string directory, std::unique_ptr<IFileSystem> files,
              std::shared_ptr<CDirectoryLock> lock)
        : m_strDirectory(std::move(directory)),
          m_pFiles(std::move(files)),
          m_pLock(std::move(lock)) {}

    bool append(const std::string& date, const std::string& lines) override;
    Text read(const std::string& date) override;

private:
    /// The book of a date as it was left.
    struct Known {
        int generation = 0;  ///< of the lock
        FileStamp stamp;
        bool sound = false;  ///< it ends with a whole line, and its name is on disk
    };

    std::string pathOf(const std::string& date) const;
    std::string appendTo(const std::string& date, const std::string& lines);
    bool write(const std::string& path, const std::string& lines, bool sound);
    std::string readFrom(const std::string& date, std::string& bytes);
    bool report(const std::string& fault);

    const std::string m_strDirectory;
    const std::unique_ptr<IFileSystem> m_pFiles;
    const std::shared_ptr<CDirectoryLock> m_pLock;
    std::map<std::string, Known> m_known;  ///< by date
    std::string m_strFault;                ///< that was logged last
};

}  // namespace TC

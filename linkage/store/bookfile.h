#pragma once

#include "linkage/balance/bookwriter.h"
#include "linkage/export.h"
#include "linkage/store/filesystem.h"

#include <memory>
#include <string>

namespace TC {

/// The files "balances-yyyyMMdd.jsonl" of the Balance directory, UTF-8. Lines are appended and
/// flushed, with the directory when the file is new. Nothing is ever taken away.
class LINKAGE_EXPORT CBookFile final : public IBookFile {
public:
    CBookFile(std::string directory, std::unique_ptr<IFileSystem> files)
        : m_strDirectory(std::move(directory)), m_pFiles(std::move(files)) {}

    bool append(const std::string& date, const std::string& lines) override;
    Text read(const std::string& date) override;

private:
    std::string pathOf(const std::string& date) const;

    const std::string m_strDirectory;
    const std::unique_ptr<IFileSystem> m_pFiles;
    std::string m_strSoundDate;  ///< its file ends with a whole line, and its name is on disk
};

}  // namespace TC

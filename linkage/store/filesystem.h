#pragma once

#include "linkage/export.h"

#include <string>
#include <string_view>

namespace TC {

/// The file operations that loading and saving need, one call of the system each.
///
/// Failure: false (or -1, or ERead::Failed); nothing throws. Threads: any.
class IFileSystem {
public:
    enum class ERead { Done, Missing, Failed };

    virtual ~IFileSystem() = default;

    /// Makes a directory with its parents; true when it is there.
    virtual bool makeDirectory(const std::string& path) = 0;

    /// A regular file's bytes.
    virtual ERead read(const std::string& path, std::string& bytes) = 0;

    /// Whether the user lets this file be written; true when there is none.
    virtual bool mayWrite(const std::string& path) = 0;

    /// Opens a new file for writing, with the permissions of the file `like` when there is
    /// one. What has the name already (a file, a link, an empty directory) goes first; a
    /// link's target is left alone.
    virtual int create(const std::string& path, const std::string& like) = 0;
    /// Opens a file for writing at its end; makes it when there is none.
    virtual int append(const std::string& path) = 0;
    virtual bool write(int file, std::string_view bytes) = 0;
    virtual bool flush(int file) = 0;
    virtual bool close(int file) = 0;

    /// Replaces `to`, at once or not at all.
    virtual bool rename(const std::string& from, const std::string& to) = 0;
    /// True when the file was there and is gone.
    virtual bool remove(const std::string& path) = 0;
    /// Makes the names of a directory durable.
    virtual bool flushDirectory(const std::string& path) = 0;
};

/// The machine's own files.
class LINKAGE_EXPORT CDiskFiles : public IFileSystem {
public:
    bool makeDirectory(const std::string& path) override;
    ERead read(const std::string& path, std::string& bytes) override;
    bool mayWrite(const std::string& path) override;
    int create(const std::string& path, const std::string& like) override;
    int append(const std::string& path) override;
    bool write(int file, std::string_view bytes) override;
    bool flush(int file) override;
    bool close(int file) override;
    bool rename(const std::string& from, const std::string& to) override;
    bool remove(const std::string& path) override;
    bool flushDirectory(const std::string& path) override;
};

}  // namespace TC

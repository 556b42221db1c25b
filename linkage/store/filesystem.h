#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace TC {

/// What tells two states of a file apart without reading it.
struct FileStamp {
    bool exists = false;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t modified = 0;  ///< nanoseconds
    std::int64_t changed = 0;   ///< nanoseconds

    bool operator==(const FileStamp&) const = default;
};

/// The file operations that loading and saving need.
///
/// Failure: false (or -1, nothing, ERead::Failed), and errno says why; nothing throws.
/// Threads: any.
class IFileSystem {
public:
    enum class ERead { Done, Missing, Failed, TooLarge };

    /// Data files are far smaller; a larger file is neither read nor written.
    static constexpr std::size_t MOST_BYTES = 64U << 20;

    virtual ~IFileSystem() = default;

    /// Makes a directory with its parents; true when it is there.
    virtual bool makeDirectory(const std::string& path) = 0;

    /// A regular file's bytes.
    virtual ERead read(const std::string& path, std::string& bytes) = 0;

    /// The state of a file, links followed.
    virtual std::optional<FileStamp> stamp(const std::string& path) = 0;

    /// Where a link leads, whether or not there is a file; the path itself when it is none.
    virtual std::optional<std::string> target(const std::string& path) = 0;

    /// Whether the user lets this file be written; true when there is none.
    virtual bool mayWrite(const std::string& path) = 0;

    /// Opens a lock file, made when missing, and locks it. The lock lasts until close() or
    /// the end of the process. EWOULDBLOCK: somebody else has it.
    virtual int lock(const std::string& path) = 0;
    /// Whether the open file is still the one of that name.
    virtual bool isOpenAs(int file, const std::string& path) = 0;

    /// Opens a new file for writing, with the permissions of the file `like` when there is one.
    /// Removes first what has the name already (a file, a link, an empty directory); a link's
    /// target is left alone.
    virtual int create(const std::string& path, const std::string& like) = 0;
    /// Opens a file for writing at its end; makes it when there is none.
    virtual int append(const std::string& path) = 0;
    virtual bool write(int file, std::string_view bytes) = 0;
    virtual bool flush(int file) = 0;
    virtual bool close(int file) = 0;

    /// Replaces `to` in one step, or not at all.
    virtual bool rename(const std::string& from, const std::string& to) = 0;
    /// True when the file was there and is gone.
    virtual bool remove(const std::string& path) = 0;
    /// Makes the names of a directory durable.
    virtual bool flushDirectory(const std::string& path) = 0;
};

/// The machine's own files.
class CDiskFiles : public IFileSystem {
public:
    bool makeDirectory(const std::string& path) override;
    ERead read(const std::string& path, std::string& bytes) override;
    std::optional<FileStamp> stamp(const std::string& path) override;
    std::optional<std::string> target(const std::string& path) override;
    bool mayWrite(const std::string& path) override;
    int lock(const std::string& path) override;
    bool isOpenAs(int file, const std::string& path) override;
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

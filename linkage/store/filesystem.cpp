#include "linkage/store/filesystem.h"

#include "linkage/store/diskmodel.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace TC {

namespace {

int openToRead(const std::string& path) {
    const disk::CStep step(disk::EStep::Open);
    return step.fails() ? -1 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
}

}  // namespace

bool CDiskFiles::makeDirectory(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) return true;
    const std::string parent = std::filesystem::path(path).parent_path().string();
    if (parent.empty() || parent == path || !makeDirectory(parent)) return false;
    {
        disk::CStep step(disk::EStep::MakeDirectory);
        if (step.fails() || ::mkdir(path.c_str(), 0777) != 0) return false;
        step.madeDirectory(path);
    }
    if (flushDirectory(parent)) return true;
    // A directory that a power cut may remove does not count as made.
    const int why = errno;
    ::rmdir(path.c_str());
    errno = why;
    return false;
}

IFileSystem::ERead CDiskFiles::read(const std::string& path, std::string& bytes) {
    bytes.clear();
    const int file = openToRead(path);
    if (file < 0) return errno == ENOENT ? ERead::Missing : ERead::Failed;
    struct stat status {};
    ERead result = ERead::Done;
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        result = ERead::Failed;
        errno = EINVAL;
    }
    // The size is checked again while reading, because the file may grow meanwhile.
    char block[65536];
    for (ssize_t count = 1; result == ERead::Done && count != 0;) {
        if (status.st_size > static_cast<off_t>(MOST_BYTES) || bytes.size() > MOST_BYTES) {
            result = ERead::TooLarge;
            errno = EFBIG;
            break;
        }
        count = ::read(file, block, sizeof block);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) result = ERead::Failed;
        if (count > 0) bytes.append(block, static_cast<std::size_t>(count));
    }
    const int why = errno;
    ::close(file);
    errno = why;
    return result;
}

std::optional<FileStamp> CDiskFiles::stamp(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return FileStamp{};
        return std::nullopt;
    }
    constexpr std::int64_t SECOND = 1'000'000'000;
    return FileStamp{.exists = true,
                     .device = status.st_dev,
                     .inode = status.st_ino,
                     .size = status.st_size,
                     .modified = status.st_mtim.tv_sec * SECOND + status.st_mtim.tv_nsec,
                     .changed = status.st_ctim.tv_sec * SECOND + status.st_ctim.tv_nsec};
}

std::optional<std::string> CDiskFiles::target(const std::string& path) {
    constexpr int MOST_LINKS = 40;
    std::filesystem::path at = path;
    for (int links = 0; links < MOST_LINKS; ++links) {
        std::error_code error;
        if (!std::filesystem::is_symlink(at, error)) return at.string();
        const auto next = std::filesystem::read_symlink(at, error);
        if (error) break;
        at = at.parent_path() / next;  // an absolute target replaces the whole path
    }
    errno = ELOOP;
    return std::nullopt;
}

bool CDiskFiles::mayWrite(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return true;
    // access() lets a superuser write any file; but a file that nobody may write counts as
    // closed for the superuser too.
    return (status.st_mode & 0222) != 0 && ::access(path.c_str(), W_OK) == 0;
}

int CDiskFiles::lock(const std::string& path) {
    const disk::CStep step(disk::EStep::Open);
    if (step.fails()) return -1;
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (file < 0) return -1;
    if (::flock(file, LOCK_EX | LOCK_NB) == 0) return file;
    // Some network drives have no locks; there the file is used without a lock.
    if (errno == ENOLCK || errno == EOPNOTSUPP || errno == ENOSYS) return file;
    const int why = errno;
    ::close(file);
    errno = why;
    return -1;
}

bool CDiskFiles::isOpenAs(int file, const std::string& path) {
    struct stat open {};
    struct stat named {};
    return ::fstat(file, &open) == 0 && ::stat(path.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

int CDiskFiles::create(const std::string& path, const std::string& like) {
    disk::CStep step(disk::EStep::Open);
    if (step.fails()) return -1;
    step.touch(path);
    std::error_code error;
    if (std::filesystem::remove(path, error)) step.removed(path);
    const int file =
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (file < 0) return file;
    step.created(path, file);
    struct stat status {};
    if (::stat(like.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
        // A file that the user closed to others stays closed to them.
        if (::fchmod(file, status.st_mode & 07777) != 0) errno = 0;
    }
    return file;
}

int CDiskFiles::append(const std::string& path) {
    disk::CStep step(disk::EStep::Open);
    if (step.fails()) return -1;
    step.touch(path);
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (file >= 0) step.appending(path, file);
    return file;
}

bool CDiskFiles::write(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        disk::CStep step(disk::EStep::Write);
        if (step.fails()) return false;
        const std::size_t part = step.isShort() ? (bytes.size() + 1) / 2 : bytes.size();
        const ssize_t count = ::write(file, bytes.data(), part);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        step.wrote(file, bytes.substr(0, static_cast<std::size_t>(count)));
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool CDiskFiles::flush(int file) {
    disk::CStep step(disk::EStep::Flush);
    if (step.fails() || ::fsync(file) != 0) return false;
    step.flushed(file);
    return true;
}

bool CDiskFiles::close(int file) {
    disk::closed(file);
    return ::close(file) == 0;
}

bool CDiskFiles::rename(const std::string& from, const std::string& to) {
    disk::CStep step(disk::EStep::Rename);
    if (step.fails()) return false;
    step.touch(from);
    step.touch(to);
    if (std::rename(from.c_str(), to.c_str()) != 0) return false;
    step.renamed(from, to);
    return true;
}

bool CDiskFiles::remove(const std::string& path) {
    disk::CStep step(disk::EStep::Remove);
    if (step.fails()) return false;
    step.touch(path);
    if (::unlink(path.c_str()) != 0) return false;
    step.removed(path);
    return true;
}

bool CDiskFiles::flushDirectory(const std::string& path) {
    disk::CStep step(disk::EStep::Flush);
    if (step.fails()) return false;
    const int directory = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0) return false;
    const bool done = ::fsync(directory) == 0;
    const int why = errno;
    ::close(directory);
    errno = why;
    if (done) step.flushedDirectory(path);
    return done;
}

}  // namespace TC

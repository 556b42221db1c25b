#include "linkage/store/filesystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace TC {

bool CDiskFiles::makeDirectory(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) return true;
    if (!std::filesystem::create_directories(path, error)) return false;
    flushDirectory(std::filesystem::path(path).parent_path().string());
    return true;
}

IFileSystem::ERead CDiskFiles::read(const std::string& path, std::string& bytes) {
    bytes.clear();
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return errno == ENOENT ? ERead::Missing : ERead::Failed;
    struct stat status {};
    bool whole = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    char block[65536];
    for (ssize_t count = 1; whole && count != 0;) {
        count = ::read(file, block, sizeof block);
        if (count < 0 && errno == EINTR) continue;
        whole = count >= 0;
        if (count > 0) bytes.append(block, static_cast<std::size_t>(count));
    }
    ::close(file);
    return whole ? ERead::Done : ERead::Failed;
}

bool CDiskFiles::mayWrite(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return true;
    // A superuser may write anything; that the file is closed to all holds for it too.
    return (status.st_mode & 0222) != 0 && ::access(path.c_str(), W_OK) == 0;
}

int CDiskFiles::create(const std::string& path, const std::string& like) {
    std::error_code error;
    std::filesystem::remove(path, error);
    const int file =
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    struct stat status {};
    if (file >= 0 && ::stat(like.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
        // What a user closed to others stays closed.
        if (::fchmod(file, status.st_mode & 07777) != 0) errno = 0;
    }
    return file;
}

bool CDiskFiles::write(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool CDiskFiles::flush(int file) { return ::fsync(file) == 0; }

bool CDiskFiles::close(int file) { return ::close(file) == 0; }

bool CDiskFiles::rename(const std::string& from, const std::string& to) {
    return std::rename(from.c_str(), to.c_str()) == 0;
}

bool CDiskFiles::remove(const std::string& path) { return ::unlink(path.c_str()) == 0; }

bool CDiskFiles::flushDirectory(const std::string& path) {
    const int directory = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0) return false;
    const bool done = ::fsync(directory) == 0;
    ::close(directory);
    return done;
}

}  // namespace TC

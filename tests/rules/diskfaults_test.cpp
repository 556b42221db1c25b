#include "linkage/store/diskfaults.h"
#include "linkage/store/filesystem.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>

using namespace TC;

namespace {

/// A directory under faults, and a file of it in steps.
struct Disk {
    Disk() { disk::begin(); }
    ~Disk() { disk::end(); }

    std::string path(const std::string& name) const {
        return root.path().toStdString() + "/" + name;
    }
    bool write(const std::string& name, const std::string& bytes, bool flush) {
        const int file = files.create(path(name), "");
        if (file < 0) return false;
        const bool done = files.write(file, bytes) && (!flush || files.flush(file));
        files.close(file);
        return done;
    }
    bool flushNames() { return files.flushDirectory(root.path().toStdString()); }
    std::string text(const std::string& name) {
        std::string bytes;
        return files.read(path(name), bytes) == IFileSystem::ERead::Done ? bytes : "none";
    }

    QTemporaryDir root;
    CDiskFiles files;
};

}  // namespace

TEST(DiskFaults, ACrashLosesWhatWasNotFlushed) {
    Disk disk;
    EXPECT_TRUE(disk.write("a", "old", true) && disk.write("b", "old", true) && disk.flushNames());
    EXPECT_TRUE(disk.write("a.new", "new", true) && disk.write("b.new", "new", false));
    EXPECT_TRUE(disk.files.rename(disk.path("a.new"), disk.path("a")));
    EXPECT_TRUE(disk.files.rename(disk.path("b.new"), disk.path("b")));
    EXPECT_EQ(disk.text("a") + disk.text("b"), "newnew");
    disk::crash([&](const std::string& path) { return path == disk.path("b"); });
    EXPECT_FALSE(disk.write("c", "late", true)) << "the process is gone";
    disk::restart();
    EXPECT_EQ(disk.text("a") + "|" + disk.text("b"), "old|") << "a name alone brings no data";
    EXPECT_TRUE(disk.write("c", "next", true));
}

TEST(DiskFaults, TheStepsThatWereAskedForFail) {
    Disk disk;
    disk::fail({.step = disk::EStep::Flush, .after = 1, .times = 2, .error = ENOSPC});
    disk::fail({.step = disk::EStep::Write, .after = 3});
    EXPECT_TRUE(disk.write("a", "1", true));
    EXPECT_FALSE(disk.write("a", "2", true));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_FALSE(disk.flushNames());
    const int before = disk::steps();
    EXPECT_TRUE(disk.write("a", "3", true)) << "back in order";
    EXPECT_EQ(disk::steps() - before, 3) << "open, write, flush";
    EXPECT_TRUE(disk.write("a", "12345", true)) << "the rest of a short write follows";
    EXPECT_EQ(disk.text("a"), "12345");
    disk::fail({.times = disk::Fault::FOREVER, .error = EROFS});
    EXPECT_FALSE(disk.files.remove(disk.path("a")) || disk.write("b", "", false));
    disk::clearFaults();
    EXPECT_TRUE(disk.files.remove(disk.path("a")));
}

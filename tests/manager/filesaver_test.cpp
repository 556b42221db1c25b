#include "linkage/store/filesaver.h"
#include "linkage/store/diskfaults.h"
#include "platform/log.h"

#include <QDir>
#include <QTemporaryDir>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <boost/make_shared.hpp>
#include <boost/thread/exceptions.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <stdexcept>

using namespace TC;
namespace fs = std::filesystem;

namespace {

std::string bytesOf(const std::string& path) {
    std::string bytes;
    CDiskFiles().read(path, bytes);
    return bytes;
}

void put(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

/// A saver without a manager. Each of its three files holds a digit, the version, in more bytes
/// than a page or two, and with an even version there is the fourth one too: "111", "2222". Balance
/// times are letters: "a11". A file that is not there is "-".
struct Saver {
    static constexpr std::size_t SIZE = 20000;

    explicit Saver(CFileSaver::StartThread startThread = {}) : start(std::move(startThread)) {
        reopen();
    }
    ~Saver() { disk::end(); }

    std::unique_ptr<CFileSaver> make(std::unique_ptr<IFileSystem> files) {
        const auto times = [this] {
            return [texts = CFileSaver::Texts{{STAT_FILE, text('a' - '1')}}] { return texts; };
        };
        return std::make_unique<CFileSaver>(
            mutex, boost::make_shared<CDoor>(), CFileSaver::Place{directory},
            CFileSaver::Composer{[this](bool) { return [texts = compose()] { return texts; }; },
                                 times},
            std::move(files), start);
    }
    /// As another process would, which first reads.
    void reopen(std::unique_ptr<IFileSystem> files = std::make_unique<CDiskFiles>()) {
        saver.reset();
        saver = make(std::move(files));
        saver->load();
    }
    CFileSaver* operator->() { return saver.get(); }

    void setVersion(char digit) {
        const CLock lock(mutex);
        version = digit;
    }
    void ask(char digit) {
        setVersion(digit);
        saver->saveAll(false);
    }
    void finish(const std::string& expected) {
        EXPECT_NO_THROW(saver->finish());
        EXPECT_EQ(all(), expected);
    }
    void save(char digit, const std::string& expected) {
        ask(digit);
        finish(expected);
    }
    /// All are replaced, and nothing but the lock is left beside them.
    void saveWhole(char digit) {
        save(digit, setOf(digit));
        const auto count = std::distance(fs::directory_iterator(directory), {});
        EXPECT_EQ(count, setOf(digit).size() + 1);
    }

    static std::string setOf(char digit) { return std::string(digit % 2 == 0 ? 4 : 3, digit); }
    static std::string setOf(const std::function<std::string(const char*)>& bytes) {
        std::string set;
        for (const char* name : {STAT_FILE, BALANCE_FILE, DETAIL_FILE, KEPT_FILE}) {
            const std::string found = bytes(name);
            const bool isWhole = found == std::string(SIZE, found[0]);
            set += found.empty() ? '-' : isWhole ? found[0] : '?';
        }
        return set.back() == '-' ? set.substr(0, 3) : set;
    }
    std::string path(const std::string& name) const { return directory + "/" + name; }
    std::string all() const {
        return setOf([&](const char* name) { return bytesOf(path(name)); });
    }
    /// What another process would load.
    std::string loaded() {
        CFileSaver::Texts texts = make(std::make_unique<CDiskFiles>())->load();
        return setOf([&](const char* name) { return texts[name]; });
    }

    std::string text(int plus = 0) const {
        return std::string(SIZE, static_cast<char>(version + plus));
    }
    CFileSaver::Texts compose() {
        ++composed;
        if (version == '0') throw std::runtime_error("no text");
        return {{STAT_FILE, text()},
                {BALANCE_FILE, text()},
                {DETAIL_FILE, text()},
                {KEPT_FILE, version % 2 == 0 ? text() : ""}};
    }

    // In memory, where there is such a place: a flush costs nothing there.
    QTemporaryDir temporary{fs::exists("/dev/shm") ? "/dev/shm/saver-XXXXXX"
                                                   : QDir::tempPath() + "/saver-XXXXXX"};
    const std::string directory = temporary.path().toStdString() + "/data/Balance";
    CRecursiveMutex mutex;
    char version = '0';  // which cannot be composed
    std::atomic<int> composed{0};
    CFileSaver::StartThread start;
    std::unique_ptr<CFileSaver> saver;
};

boost::thread noThread(const std::function<void()>&) { return {}; }

/// The log's lines while it lives.
struct Log {
    Log() {
        g_VexStdLogger.setReceiver([this](const CVexLogger::Line& line) { text += line.message; });
    }
    ~Log() { g_VexStdLogger.setReceiver({}); }
    bool has(const std::string& part) const { return text.find(part) != text.npos; }
    std::string text;
};

/// What happens at a step of a change.
struct Mishap {
    const char* name;
    int times;              ///< the steps that fail
    bool ends;              ///< the process ends with the change
    disk::KeepsName keeps;  ///< with power, unless null: what was not flushed is lost
};

/// A small file system of its own on a directory, which others fill.
struct SmallDisk {
    static constexpr int PAGES = 100;
    static constexpr int PAGE = 4096;

    explicit SmallDisk(std::string on) : path(std::move(on)) {
        const std::string size = fmt::format("size={}", PAGES * PAGE);
        mounted = ::mount("tmpfs", path.c_str(), "tmpfs", 0, size.c_str()) == 0;
    }
    ~SmallDisk() {
        if (mounted) ::umount2(path.c_str(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    void leave(int pages) const {
        const auto room = static_cast<int>(fs::space(path).available / PAGE);
        put(filler(), std::string(static_cast<std::size_t>(std::max(0, room - pages) * PAGE), ' '));
    }
    void makeRoom() const { fs::remove(filler()); }
    std::string filler() const { return path + "/filler"; }

    std::string path;
    bool mounted = false;
};

constexpr int EVER = disk::Fault::FOREVER;
bool isMark(const std::string& path) { return path.ends_with(".commit"); }
bool isAny(const std::string&) { return true; }

/// A change that meets a mishap at one of its steps; "--1" is that two files are removed. Returns
/// whether it has such a step.
bool playMishap(const Mishap& mishap, int error, int at, char from, const std::string& to) {
    SCOPED_TRACE(fmt::format("{} to {}, {}, error {}, step {}", from, to, mishap.name, error, at));
    std::function<void()> thread;  // its work, once and without another try
    Saver saver([&](const std::function<void()>& work) {
        thread = work;
        return boost::thread();
    });
    saver.saveWhole(from);
    disk::begin();
    disk::fail({.after = at, .times = mishap.times, .error = error});
    if (to[0] == '-') {
        saver->remove({STAT_FILE, BALANCE_FILE});
    } else {
        to[0] == 'a' ? saver->saveBalanceTimes() : saver.ask(to[0]);
        thread();
    }
    const bool met = disk::steps() > at;
    if (mishap.keeps) disk::crash(mishap.keeps);
    disk::restart();
    const std::string found = saver.loaded();
    EXPECT_TRUE((met && found == Saver::setOf(from)) || found == to) << found;
    if (mishap.ends) {
        saver.reopen();
        EXPECT_EQ(saver.all(), found) << "what was read is what is there";
    } else {
        saver.finish(to);
    }
    saver.saveWhole('5');
    return met;
}

}  // namespace

// Whoever reads afterwards finds the old set or the new one, and when the disk works again the
// newest gets there.
TEST(FileSaver, AMishapAtAnyStepLeavesTheOldSetOrTheNew) {
    const Mishap mishaps[] = {
        {"fails once", 1, false, {}},
        {"fails from then on", EVER, false, {}},
        {"fails once, then the process ends", 1, true, {}},
        {"killed", EVER, true, {}},
        {"power cut", EVER, true, std::not_fn(isAny)},
        {"power cut, all names kept", EVER, true, isAny},
        {"power cut, the mark kept", EVER, true, isMark},
        {"power cut, the mark lost", EVER, true, std::not_fn(isMark)},
        {"fails once, then a power cut", 1, true, isMark},
    };
    for (const std::string to : {"2222", "333", "--1", "a11"}) {
        for (const Mishap& mishap : mishaps) {
            for (const int error : {EIO, ENOSPC, EACCES, EROFS, 0}) {
                if (error != EIO && mishap.ends) continue;
                const char from = to == "333" ? '2' : '1';
                int at = 0;
                while (at < 100 && !HasFailure() && playMishap(mishap, error, at, from, to)) ++at;
                EXPECT_TRUE(at > 5 && at < 100) << "a change has more steps";
            }
        }
    }
}

// Without any fault that is played: the pages of a real disk run out at every place of a save.
TEST(FileSaver, AFullDiskLeavesTheOldSetOrTheNewAndRoomBringsTheNewest) {
    int kept = 0;
    int replaced = 0;
    for (const std::string to : {"2222", "333"}) {
        const char from = to == "333" ? '2' : '1';
        for (int pages = 0; pages <= 40; ++pages) {
            SCOPED_TRACE(fmt::format("{} to {} with {} pages", from, to, pages));
            Saver saver(noThread);
            const SmallDisk disk(saver.temporary.path().toStdString());
            if (!disk.mounted) GTEST_SKIP() << "nobody may mount a file system here";
            saver.reopen();
            saver.saveWhole(from);
            disk.leave(pages);
            saver.ask(to[0]);
            saver->finish();
            const std::string found = saver.loaded();
            EXPECT_TRUE(found == Saver::setOf(from) || found == to) << found;
            (found == to ? replaced : kept) += 1;
            disk.makeRoom();
            saver.finish(to);
            saver.saveWhole('5');
        }
    }
    EXPECT_GT(kept, 10);
    EXPECT_GT(replaced, 10);
}

// The end of a save that counts already is made at the next start, and that too may be cut
// short anywhere. A second client that saw the mark meanwhile keeps it in mind no longer than
// it is without the lock.
TEST(FileSaver, WhatCountsIsCarriedThroughByWhoeverStartsNext) {
    bool met = true;
    for (int at = 0; met; ++at) {
        SCOPED_TRACE(at);
        Saver saver(noThread);
        saver.saveWhole('2');
        disk::begin();
        disk::fail({.step = disk::EStep::Rename, .after = 1, .times = EVER, .error = EIO});
        disk::fail({.step = disk::EStep::Remove, .times = EVER, .error = EIO});
        saver.save('1', "2222");  // behind the mark nothing is done
        const auto second = saver.make(std::make_unique<CDiskFiles>());
        EXPECT_EQ(second->load().size(), 3U);
        disk::crash(isAny);
        disk::restart();
        const int before = disk::steps();
        disk::fail({.after = at, .times = EVER, .error = EIO});
        saver.reopen();
        met = disk::steps() - before > at;
        disk::crash();
        disk::restart();
        EXPECT_EQ(saver.loaded(), "111");
        saver.reopen();
        EXPECT_EQ(saver.all(), "111");
        saver.saveWhole('2');
        saver.saver.reset();
        EXPECT_EQ(second->load().size(), 4U) << "the mark was another one's";
    }
}

TEST(FileSaver, NothingIsReplacedThatWasNotRead) {
    const struct {
        const char* name;
        std::function<void(Saver&, const std::string& path)> meanwhile;
        const char* logged;  ///< "": it is saved
    } cases[] = {
        {"changed", [](Saver&, const auto& path) { put(path, "other"); }, "changed the file"},
        {"removed", [](Saver&, const auto& path) { fs::remove(path); }, ""},
        {"written again", [](Saver&, const auto& path) { put(path, bytesOf(path)); }, ""},
        {"closed to writing",
         [](Saver&, const auto& path) { fs::permissions(path, fs::perms::owner_read); },
         "not writable"},
        {"the directory was not there at the start",
         [](Saver& saver, const auto&) {
             fs::rename(saver.directory, saver.directory + ".away");
             saver.reopen();
             fs::rename(saver.directory + ".away", saver.directory);
         },
         "changed the file"},
        {"too large to be read",
         [](Saver& saver, const auto& path) {
             fs::resize_file(path, 3'000'000'000);
             saver.reopen();
         },
         "file too large"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        Saver saver;
        saver.saveWhole('1');
        const Log log;
        each.meanwhile(saver, saver.path(BALANCE_FILE));
        saver.save('3', *each.logged ? saver.all() : "333");
        EXPECT_TRUE(log.has(each.logged)) << log.text;
    }
}

TEST(FileSaver, ADirectoryBelongsToOneClient) {
    Saver saver;
    const Log log;
    saver.saveWhole('1');
    const auto second = saver.make(std::make_unique<CDiskFiles>());
    EXPECT_EQ(second->load().size(), 3U) << "reading is free";
    saver.setVersion('3');
    second->saveAll(false);
    second->finish();
    second->remove({DETAIL_FILE});
    EXPECT_EQ(saver.all(), "111");
    EXPECT_TRUE(log.has("another client")) << log.text;
    saver.saveWhole('5');
    saver.saver.reset();
    second->finish();
    EXPECT_EQ(saver.all(), "555") << "the second has not read these";
    second->load();
    saver.setVersion('3');
    second->finish();
    EXPECT_EQ(saver.all(), "333") << "the directory is free";
}

TEST(FileSaver, LinksStayLinks) {
    Saver saver;
    saver.saveWhole('1');
    const std::string far = saver.directory + "/../far.csv";
    fs::rename(saver.path(DETAIL_FILE), far);
    fs::create_symlink("../far.csv", saver.path(DETAIL_FILE));
    fs::remove(saver.path(STAT_FILE));
    fs::create_symlink("missing.csv", saver.path(STAT_FILE));
    // What stands under the stage's name goes, and a link's target is left alone.
    fs::create_symlink(far, saver.path(BALANCE_FILE) + ".new");
    saver.reopen();
    saver.save('3', "333");
    EXPECT_TRUE(fs::is_symlink(saver.path(STAT_FILE)));
    EXPECT_EQ(bytesOf(far)[0], '3');
    saver->remove({STAT_FILE, DETAIL_FILE});
    EXPECT_EQ(saver.all(), "-3-");
    saver.save('5', "555");
    EXPECT_TRUE(fs::is_symlink(saver.path(DETAIL_FILE)));
}

TEST(FileSaver, ABurstIsServedByOneThread) {
    std::atomic<int> started{0};
    Saver saver([&](const std::function<void()>& work) {
        ++started;
        return boost::thread(work);
    });
    {
        const CLock lock(saver.mutex);
        for (int each = 1; each <= 10000; ++each) saver.ask('1');
        EXPECT_EQ(started + saver.composed, 1);
    }
    saver.finish("111");
    EXPECT_EQ(saver.composed, 1);
    for (int each = 1; each <= 10000; ++each) saver.ask('3');  // saves get through in between
    saver.finish("333");
    EXPECT_LE(started, saver.composed + 1);
}

// What cannot be composed and whose thread cannot start still stands, and the last wish decides.
TEST(FileSaver, WhatIsAskedForStands) {
    bool fail = true;
    Saver saver([&](const std::function<void()>& work) {
        if (fail) throw boost::thread_resource_error(EAGAIN);
        return boost::thread(work);
    });
    EXPECT_THROW(saver.ask('0'), boost::thread_resource_error);
    saver.finish("---");
    fail = false;
    saver->saveBalanceTimes();
    saver.finish("---");
    saver.setVersion('1');
    saver.finish("a11");
    saver->saveBalanceTimes();
    const CLock lock(saver.mutex);  // as a handler that releases the manager
    saver.save('3', "333");
}

TEST(FileSaver, NothingComposedBeforeARemovalComesBack) {
    struct Slow : CDiskFiles {
        bool flush(int file) override {
            if (first.exchange(false)) {
                writing.set_value();
                go.get_future().wait();
            }
            return CDiskFiles::flush(file);
        }
        std::promise<void> writing, go;
        std::atomic<bool> first{true};
    };
    Saver saver;
    auto files = std::make_unique<Slow>();
    Slow& slow = *files;
    saver.reopen(std::move(files));
    saver.ask('1');
    slow.writing.get_future().wait();
    saver->remove({STAT_FILE, BALANCE_FILE});
    slow.go.set_value();
    saver.finish("--1");
    saver.saveWhole('3');
}

TEST(FileSaver, AFileInNoEncodingIsKeptBeside) {
    const std::string broken = "资\xFF\xFE old";
    Saver saver;
    const std::string detail = saver.path(DETAIL_FILE);
    fs::create_directories(saver.directory);
    put(detail, broken);
    saver.reopen();
    disk::fail({.step = disk::EStep::Write, .times = EVER, .error = ENOSPC});
    saver.save('1', "--?");
    EXPECT_EQ(bytesOf(detail), broken) << "no copy, no save";
    disk::end();
    saver.save('3', "333");
    EXPECT_EQ(bytesOf(detail + ".unreadable"), broken);

    put(detail, broken);
    saver.reopen();
    saver->remove({DETAIL_FILE});
    EXPECT_EQ(saver.all(), "33-");
    EXPECT_EQ(bytesOf(detail + ".unreadable.2"), broken);
}

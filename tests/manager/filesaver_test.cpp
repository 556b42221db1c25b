#include "linkage/store/filesaver.h"
#include "platform/log.h"
#include "tests/support/faultyfiles.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <boost/thread/exceptions.hpp>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <future>
#include <stdexcept>
#include <vector>

using namespace TC;
using tests::CFaultyFiles;
namespace fs = std::filesystem;

namespace {

/// A saver without a manager: its three files hold one version number each, in more
/// bytes than a page or two.
class Saver {
public:
    explicit Saver(CFaultyFiles::Allow allow = {}, CFileSaver::StartThread start = {})
        : m_start(std::move(start)) {
        reopen(std::move(allow));
    }

    void reopen(CFaultyFiles::Allow allow = {}) {
        std::unique_ptr<IFileSystem> files = std::make_unique<CDiskFiles>();
        if (allow) files = std::make_unique<CFaultyFiles>(std::move(allow));
        const auto times = [this] { return CFileSaver::Texts{{STAT_FILE, text("times ")}}; };
        m_saver = std::make_unique<CFileSaver>(
            m_mutex, boost::make_shared<CDoor>(), CFileSaver::Place{directory()},
            CFileSaver::Composer{[this](bool) { return compose(); }, times}, std::move(files),
            m_start);
    }

    CFileSaver* operator->() { return m_saver.get(); }
    CRecursiveMutex& mutex() { return m_mutex; }
    int composed() const { return m_nComposed; }

    /// A negative one cannot be composed.
    void setVersion(int version) {
        const CLock lock(m_mutex);
        m_nVersion = version;
    }
    void ask(int version) {
        setVersion(version);
        m_saver->saveAll(false);
    }
    void remove(std::initializer_list<const char*> names) {
        const CLock lock(m_mutex);
        m_saver->remove(names);
    }

    void finish(const std::string& expected) {
        EXPECT_NO_THROW(m_saver->finish());
        EXPECT_EQ(all(), expected);
    }
    void save(int version, const std::string& expected) {
        ask(version);
        finish(expected);
    }
    /// All three are replaced, and nothing is left beside them.
    void saveWhole(int version) {
        const std::string each = std::to_string(version);
        save(version, each + "|" + each + "|" + each);
        EXPECT_EQ(std::distance(fs::directory_iterator(directory()), {}), 3);
    }

    std::string directory() const { return m_root.path().toStdString() + "/data/Balance"; }
    std::string path(const std::string& name) const { return directory() + "/" + name; }

    /// "3", "times 3", "none", or what is wrong with the file.
    std::string file(const std::string& name) const {
        std::string bytes;
        if (CDiskFiles().read(path(name), bytes) != IFileSystem::ERead::Done) return "none";
        if (bytes.size() != SIZE || bytes.back() != '.') return "not whole";
        return bytes.substr(0, bytes.find('.'));
    }
    std::string all() const {
        return file(STAT_FILE) + "|" + file(BALANCE_FILE) + "|" + file(DETAIL_FILE);
    }

private:
    static constexpr std::size_t SIZE = 20000;

    std::string text(const std::string& kind = {}) const {
        std::string content = kind + std::to_string(m_nVersion);
        content.resize(SIZE, '.');
        return content;
    }
    CFileSaver::Texts compose() {
        ++m_nComposed;
        if (m_nVersion < 0) throw std::runtime_error("no text");
        return {{STAT_FILE, text()}, {BALANCE_FILE, text()}, {DETAIL_FILE, text()}};
    }

    QTemporaryDir m_root;
    CRecursiveMutex m_mutex;
    int m_nVersion = 0;
    std::atomic<int> m_nComposed{0};
    CFileSaver::StartThread m_start;
    std::unique_ptr<CFileSaver> m_saver;
};

boost::thread noThread(const std::function<void()>&) { return {}; }

void put(const std::string& path, const std::string& bytes) {
    CDiskFiles files;
    const int file = files.create(path, "");
    files.write(file, bytes);
    files.close(file);
}

std::string bytesOf(const std::string& path) {
    std::string bytes;
    CDiskFiles().read(path, bytes);
    return bytes;
}

}  // namespace

TEST(FileSaver, AKillAtAnyStepLeavesWholeFilesAndTheNextSaveWorks) {
    Saver saver({}, noThread);
    saver.saveWhole(1);
    int kills = 0;
    for (bool killed = true; killed; ++kills) {
        SCOPED_TRACE(kills);
        ASSERT_LT(kills, 100);
        const pid_t child = fork();
        if (child == 0) {
            int step = 0;
            saver.reopen([&](const std::string&, const std::string&) {
                if (step++ == kills) _exit(9);
                return true;
            });
            saver.ask(2);
            saver->finish();
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        killed = WEXITSTATUS(status) == 9;
        for (const char* name : {STAT_FILE, BALANCE_FILE, DETAIL_FILE}) {
            const std::string found = saver.file(name);
            EXPECT_TRUE(found == "1" || found == "2") << name << " " << found;
        }
        saver.reopen();
        saver.saveWhole(killed ? 1 : 3);
    }
    // Three files in four steps each, three names, the directory twice.
    EXPECT_GE(kills, 16);
}

TEST(FileSaver, AFailedStepLeavesTheOldFileAndNothingBesideIt) {
    const struct {
        const char *call, *file, *expected;  ///< the file only where the path is known
    } cases[] = {
        {"makeDirectory", "", "1|1|1"},
        {"create", STAT_FILE, "1|2|2"},
        {"create", DETAIL_FILE, "2|2|1"},
        {"write", "", "1|1|1"},
        {"flush", "", "1|1|1"},
        {"close", "", "1|1|1"},
        {"rename", BALANCE_FILE, "2|1|2"},
        {"flushDirectory", "", "2|2|2"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(std::string(each.call) + " " + each.file);
        Saver saver;
        saver.saveWhole(1);
        saver.reopen([&](const std::string& call, const std::string& path) {
            return call != each.call || path.find(each.file) == std::string::npos;
        });
        saver.save(2, each.expected);
        EXPECT_EQ(std::distance(fs::directory_iterator(saver.directory()), {}), 3);
        saver.reopen();
        saver.saveWhole(3);
    }
}

TEST(FileSaver, AFullDiskAndADirectoryInTheFilesPlace) {
    Saver saver;
    saver.saveWhole(1);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit full = before;
    full.rlim_cur = 1000;
    setrlimit(RLIMIT_FSIZE, &full);
    saver.save(2, "1|1|1");
    setrlimit(RLIMIT_FSIZE, &before);

    fs::remove(saver.path(BALANCE_FILE));
    fs::create_directory(saver.path(BALANCE_FILE));
    EXPECT_FALSE(saver->load(BALANCE_FILE).has_value());
    saver.save(3, "3|none|3");
    fs::remove(saver.path(BALANCE_FILE));
    saver.saveWhole(4);

    // Where the directory should be there is a file.
    fs::remove_all(saver.directory());
    put(saver.directory(), "");
    saver.save(5, "none|none|none");
    saver.remove({DETAIL_FILE});
    fs::remove(saver.directory());
    saver.saveWhole(6);
}

TEST(FileSaver, WhatStandsUnderTheStagesNameGoes) {
    Saver saver;
    saver.saveWhole(1);
    const fs::path file = saver.path(BALANCE_FILE);
    const fs::path stage = saver.path(BALANCE_FILE) + ".new";
    fs::create_directory(stage);
    saver.saveWhole(2);

    const fs::path other = saver.path("other");
    fs::copy_file(file, other);
    fs::create_symlink(other, stage);
    saver.save(3, "3|3|3");
    EXPECT_EQ(saver.file("other"), "2") << "the link's target is left alone";
    EXPECT_FALSE(fs::is_symlink(file));
    fs::remove(other);

    // A stage that could neither be put in place nor removed.
    saver.reopen([](const std::string& call, const std::string& path) {
        return (call != "rename" && call != "remove") || path.find(BALANCE_FILE) == path.npos;
    });
    saver.save(4, "4|3|4");
    EXPECT_TRUE(fs::exists(stage));
    saver.reopen();
    saver.saveWhole(5);
}

TEST(FileSaver, AFileClosedToWritingIsLeftAndLogged) {
    Saver saver;
    saver.saveWhole(1);
    fs::permissions(saver.path(BALANCE_FILE), fs::perms::owner_read);
    std::vector<std::string> log;
    g_VexStdLogger.setTap(
        [&](std::string_view, const std::string& message) { log.push_back(message); });
    saver.save(2, "2|1|2");
    g_VexStdLogger.setTap({});
    EXPECT_EQ(log, (std::vector<std::string>{"file not writable, left as it is : " +
                                             saver.path(BALANCE_FILE)}));
    fs::permissions(saver.path(BALANCE_FILE), fs::perms::owner_all);
    saver.saveWhole(3);
}

TEST(FileSaver, WhatCannotBeComposedStillStands) {
    for (const bool onThread : {false, true}) {
        Saver saver({}, onThread ? CFileSaver::StartThread() : noThread);
        saver.save(-1, "none|none|none");
        saver->saveBalanceTimes();
        saver.finish("none|none|none");
        saver.setVersion(1);
        saver.finish("times 1|1|1");
    }
}

TEST(FileSaver, ABurstIsServedByOneThread) {
    std::atomic<int> started{0}, alive{0}, most{0};
    Saver saver({}, [&](const std::function<void()>& work) {
        ++started;
        return boost::thread([&, work] {
            most = std::max(most.load(), ++alive);
            work();
            --alive;
        });
    });
    {
        const CLock lock(saver.mutex());
        for (int each = 1; each <= 10000; ++each) saver.ask(each);
        EXPECT_EQ(started, 1);
        EXPECT_EQ(saver.composed(), 0);
    }
    saver.finish("10000|10000|10000");
    EXPECT_EQ(saver.composed(), 1);

    // The same while saves get through in between.
    for (int each = 1; each <= 10000; ++each) saver.ask(each);
    saver.finish("10000|10000|10000");
    EXPECT_EQ(most, 1);
    EXPECT_LE(started, saver.composed() + 1);
}

TEST(FileSaver, TheLastWishDecides) {
    Saver saver({}, noThread);
    saver.setVersion(1);
    saver->saveBalanceTimes();
    saver.finish("times 1|none|none");
    saver->saveBalanceTimes();
    saver.save(1, "1|1|1");
    saver.ask(2);
    saver->saveBalanceTimes();
    saver.finish("times 2|2|2");
    EXPECT_EQ(saver.composed(), 2);
}

TEST(FileSaver, FinishingDoesNotWaitForAThreadThatWaitsForTheLock) {
    Saver saver;
    const CLock lock(saver.mutex());  // as a handler that releases the manager
    saver.save(1, "1|1|1");
}

TEST(FileSaver, AThreadThatCannotStartIsReportedAndItsSaveStands) {
    bool fail = true;
    Saver saver({}, [&](const std::function<void()>& work) {
        if (fail) throw boost::thread_resource_error(EAGAIN);
        return boost::thread(work);
    });
    EXPECT_THROW(saver.ask(1), boost::thread_resource_error);
    saver.finish("1|1|1");
    EXPECT_THROW(saver.ask(2), boost::thread_resource_error);
    fail = false;
    saver->saveBalanceTimes();
    saver.finish("times 2|2|2");
}

TEST(FileSaver, NothingComposedBeforeARemovalComesBack) {
    std::promise<void> writing, go;
    std::atomic<bool> first{true};
    Saver saver([&](const std::string& call, const std::string&) {
        if (call == "flush" && first.exchange(false)) {
            writing.set_value();
            go.get_future().wait();
        }
        return true;
    });
    saver.ask(1);
    writing.get_future().wait();
    saver.remove({STAT_FILE, BALANCE_FILE});
    go.set_value();
    saver.finish("none|none|1");
    saver.saveWhole(2);
}

TEST(FileSaver, AFileThatCannotBeReadIsNeverLost) {
    const std::string broken = "资\xFF\xFE old";
    bool canCopy = false;
    bool canRead = true;
    Saver saver;
    const std::string detail = saver.path(DETAIL_FILE);
    fs::create_directories(saver.directory());
    put(detail, broken);
    saver.reopen([&](const std::string& call, const std::string& path) {
        if (call == "read") return canRead;
        return canCopy || call != "create" || path.find(".unreadable") == std::string::npos;
    });
    EXPECT_FALSE(saver->load(DETAIL_FILE).has_value());
    saver.save(1, "1|1|not whole");
    EXPECT_EQ(bytesOf(detail), broken);
    canRead = false;
    canCopy = true;
    saver.save(1, "1|1|not whole");
    EXPECT_EQ(bytesOf(detail), broken) << "what cannot be read is not replaced";
    canRead = true;
    saver.save(2, "2|2|2");
    EXPECT_EQ(bytesOf(detail + ".unreadable"), broken);

    put(detail, broken);
    saver.reopen();
    saver->load(DETAIL_FILE);
    saver.remove({DETAIL_FILE});
    EXPECT_EQ(saver.all(), "2|2|none");
    EXPECT_EQ(bytesOf(detail + ".unreadable.2"), broken);
    saver.reopen([](const std::string& call, const std::string&) { return call != "remove"; });
    saver.remove({STAT_FILE});
    saver.save(3, "3|3|3");  // a file that could not be removed
}

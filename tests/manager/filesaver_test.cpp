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

namespace {

constexpr const char* FILES[] = {STAT_FILE, BALANCE_FILE, DETAIL_FILE};

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
        m_saver = std::make_unique<CFileSaver>(
            m_mutex, boost::make_shared<CDoor>(), CFileSaver::Place{directory()},
            CFileSaver::Composer{[this](bool) { return compose(); },
                                 [this] {
                                     return CFileSaver::Texts{{STAT_FILE, text("times")}};
                                 }},
            std::move(files), m_start);
    }

    CFileSaver* operator->() { return m_saver.get(); }
    CRecursiveMutex& mutex() { return m_mutex; }
    /// A negative one cannot be composed.
    void setVersion(int version) {
        const CLock lock(m_mutex);
        m_nVersion = version;
    }
    void save(int version) {
        setVersion(version);
        m_saver->saveAll(false);
        m_saver->finish();
    }
    int composed() const { return m_nComposed; }

    std::string directory() const { return m_root.path().toStdString() + "/data/Balance"; }
    std::string path(const std::string& name) const { return directory() + "/" + name; }

    /// "all 3", "times 3", "none", or what is wrong with the file.
    std::string file(const std::string& name) const {
        std::string bytes;
        if (CDiskFiles().read(path(name), bytes) != IFileSystem::ERead::Done) return "none";
        if (bytes.size() != SIZE || bytes.back() != '.') return "not whole";
        return bytes.substr(0, bytes.find(' ', bytes.find(' ') + 1));
    }
    std::string all() const {
        return file(STAT_FILE) + "|" + file(BALANCE_FILE) + "|" + file(DETAIL_FILE);
    }
    int fileCount() const {
        int count = 0;
        for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator(directory())) {
            ++count;
        }
        return count;
    }

private:
    static constexpr std::size_t SIZE = 20000;

    std::string text(const std::string& kind) const {
        std::string content = kind + " " + std::to_string(m_nVersion) + " ";
        content.resize(SIZE, '.');
        return content;
    }
    CFileSaver::Texts compose() {
        ++m_nComposed;
        if (m_nVersion < 0) throw std::runtime_error("no text");
        return {{STAT_FILE, text("all")}, {BALANCE_FILE, text("all")}, {DETAIL_FILE, text("all")}};
    }

    QTemporaryDir m_root;
    CRecursiveMutex m_mutex;
    int m_nVersion = 0;
    std::atomic<int> m_nComposed{0};
    CFileSaver::StartThread m_start;
    std::unique_ptr<CFileSaver> m_saver;
};

boost::thread noThread(const std::function<void()>&) { return {}; }

}  // namespace

TEST(FileSaver, AKillAtAnyStepLeavesWholeFilesAndTheNextSaveWorks) {
    Saver saver({}, noThread);
    saver.save(1);
    int kills = 0;
    for (bool killed = true; killed; ++kills) {
        ASSERT_LT(kills, 100);
        const pid_t child = fork();
        if (child == 0) {
            int step = 0;
            saver.reopen([&](const std::string&, const std::string&) {
                if (step++ == kills) _exit(9);
                return true;
            });
            saver.save(2);
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        killed = WEXITSTATUS(status) == 9;
        for (const char* name : FILES) {
            const std::string found = saver.file(name);
            EXPECT_TRUE(found == "all 1" || found == "all 2")
                << name << " " << found << " " << kills;
        }
        saver.reopen();
        saver.save(killed ? 1 : 3);
    }
    // Three files in four steps each, three names, the directory twice.
    EXPECT_GE(kills, 16);
    EXPECT_EQ(saver.all(), "all 3|all 3|all 3");
    EXPECT_EQ(saver.fileCount(), 3);
}

TEST(FileSaver, AFailedStepLeavesTheOldFileAndNothingBesideIt) {
    const struct {
        const char* call;
        const char* file;  ///< only where the path is known
        const char* expected;
    } cases[] = {
        {"makeDirectory", "", "all 1|all 1|all 1"},
        {"create", STAT_FILE, "all 1|all 2|all 2"},
        {"create", DETAIL_FILE, "all 2|all 2|all 1"},
        {"write", "", "all 1|all 1|all 1"},
        {"flush", "", "all 1|all 1|all 1"},
        {"close", "", "all 1|all 1|all 1"},
        {"rename", BALANCE_FILE, "all 2|all 1|all 2"},
        {"flushDirectory", "", "all 2|all 2|all 2"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(std::string(each.call) + " " + each.file);
        Saver saver;
        saver.save(1);
        saver.reopen([&](const std::string& call, const std::string& path) {
            return call != each.call || path.find(each.file) == std::string::npos;
        });
        saver.save(2);
        EXPECT_EQ(saver.all(), each.expected);
        EXPECT_EQ(saver.fileCount(), 3);
        saver.reopen();
        saver.save(3);
        EXPECT_EQ(saver.all(), "all 3|all 3|all 3");
    }
}

TEST(FileSaver, AFullDiskAndADirectoryInTheFilesPlace) {
    Saver saver;
    saver.save(1);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit full = before;
    full.rlim_cur = 1000;
    setrlimit(RLIMIT_FSIZE, &full);
    saver.save(2);
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(saver.all(), "all 1|all 1|all 1");

    std::filesystem::remove(saver.path(BALANCE_FILE));
    std::filesystem::create_directory(saver.path(BALANCE_FILE));
    EXPECT_FALSE(saver->load(BALANCE_FILE).has_value());
    saver.save(3);
    EXPECT_EQ(saver.all(), "all 3|none|all 3");
    std::filesystem::remove(saver.path(BALANCE_FILE));
    saver.save(4);
    EXPECT_EQ(saver.all(), "all 4|all 4|all 4");

    // Where the directory should be there is a file.
    std::filesystem::remove_all(saver.directory());
    CDiskFiles().close(CDiskFiles().create(saver.directory(), ""));
    saver.save(5);
    EXPECT_EQ(saver.all(), "none|none|none");
    std::filesystem::remove(saver.directory());
    saver.save(6);
    EXPECT_EQ(saver.all(), "all 6|all 6|all 6");
}

TEST(FileSaver, WhatStandsUnderTheStagesNameGoes) {
    namespace fs = std::filesystem;
    Saver saver;
    saver.save(1);
    const fs::path file = saver.path(BALANCE_FILE);
    const fs::path stage = saver.path(BALANCE_FILE) + ".new";
    fs::create_directory(stage);
    saver.save(2);
    EXPECT_EQ(saver.all(), "all 2|all 2|all 2");

    const fs::path other = saver.path("other");
    fs::copy_file(file, other);
    fs::create_symlink(other, stage);
    saver.save(3);
    EXPECT_EQ(saver.all(), "all 3|all 3|all 3");
    EXPECT_EQ(saver.file("other"), "all 2") << "the link's target is left alone";
    EXPECT_FALSE(fs::is_symlink(file));
    fs::remove(other);

    // A stage that could neither be put in place nor removed.
    saver.reopen([](const std::string& call, const std::string& path) {
        return (call != "rename" && call != "remove") || path.find(BALANCE_FILE) == path.npos;
    });
    saver.save(4);
    EXPECT_EQ(saver.all(), "all 4|all 3|all 4");
    EXPECT_TRUE(fs::exists(stage));
    saver.reopen();
    saver.save(5);
    EXPECT_EQ(saver.all(), "all 5|all 5|all 5");
    EXPECT_EQ(saver.fileCount(), 3);
}

TEST(FileSaver, AFileClosedToWritingIsLeftAndLogged) {
    namespace fs = std::filesystem;
    Saver saver;
    saver.save(1);
    fs::permissions(saver.path(BALANCE_FILE), fs::perms::owner_read);
    std::vector<std::string> log;
    g_VexStdLogger.setTap(
        [&](std::string_view, const std::string& message) { log.push_back(message); });
    saver.save(2);
    g_VexStdLogger.setTap({});
    EXPECT_EQ(saver.all(), "all 2|all 1|all 2");
    EXPECT_EQ(log, (std::vector<std::string>{"file not writable, left as it is : " +
                                             saver.path(BALANCE_FILE)}));
    fs::permissions(saver.path(BALANCE_FILE), fs::perms::owner_all);
    saver.save(3);
    EXPECT_EQ(saver.all(), "all 3|all 3|all 3");
    EXPECT_EQ(saver.fileCount(), 3);
}

TEST(FileSaver, WhatCannotBeComposedStillStands) {
    for (const bool onThread : {false, true}) {
        Saver saver({}, onThread ? CFileSaver::StartThread() : noThread);
        saver.setVersion(-1);
        saver->saveAll(false);
        EXPECT_NO_THROW(saver->finish());
        saver->saveBalanceTimes();
        EXPECT_NO_THROW(saver->finish());
        saver.setVersion(1);
        saver->finish();
        EXPECT_EQ(saver.all(), "times 1|all 1|all 1") << onThread;
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
        for (int each = 1; each <= 10000; ++each) {
            saver.setVersion(each);
            saver->saveAll(false);
        }
        EXPECT_EQ(started, 1);
        EXPECT_EQ(saver.composed(), 0);
    }
    saver->finish();
    EXPECT_EQ(saver.composed(), 1);
    EXPECT_EQ(saver.all(), "all 10000|all 10000|all 10000");

    // The same while saves get through in between.
    for (int each = 1; each <= 10000; ++each) {
        saver.setVersion(each);
        saver->saveAll(false);
    }
    saver->finish();
    EXPECT_EQ(saver.all(), "all 10000|all 10000|all 10000");
    EXPECT_EQ(most, 1);
    EXPECT_LE(started, saver.composed() + 1);
}

TEST(FileSaver, TheLastWishDecides) {
    Saver saver({}, noThread);
    saver.setVersion(1);
    saver->saveBalanceTimes();
    saver->finish();
    EXPECT_EQ(saver.all(), "times 1|none|none");

    saver->saveBalanceTimes();
    saver->saveAll(false);
    saver->finish();
    EXPECT_EQ(saver.all(), "all 1|all 1|all 1");

    saver.setVersion(2);
    saver->saveAll(false);
    saver->saveBalanceTimes();
    saver->finish();
    EXPECT_EQ(saver.all(), "times 2|all 2|all 2");
    EXPECT_EQ(saver.composed(), 2);
}

TEST(FileSaver, FinishingDoesNotWaitForAThreadThatWaitsForTheLock) {
    Saver saver;
    const CLock lock(saver.mutex());  // as a handler that releases the manager
    saver.setVersion(1);
    saver->saveAll(false);
    saver->finish();
    EXPECT_EQ(saver.all(), "all 1|all 1|all 1");
}

TEST(FileSaver, AThreadThatCannotStartIsReportedAndItsSaveStands) {
    bool fail = true;
    Saver saver({}, [&](const std::function<void()>& work) {
        if (fail) throw boost::thread_resource_error(EAGAIN);
        return boost::thread(work);
    });
    saver.setVersion(1);
    EXPECT_THROW(saver->saveAll(false), boost::thread_resource_error);
    saver->finish();
    EXPECT_EQ(saver.file(DETAIL_FILE), "all 1");

    saver.setVersion(2);
    EXPECT_THROW(saver->saveAll(false), boost::thread_resource_error);
    fail = false;
    saver->saveBalanceTimes();
    saver->finish();
    EXPECT_EQ(saver.all(), "times 2|all 2|all 2");
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
    saver.setVersion(1);
    saver->saveAll(false);
    writing.get_future().wait();
    {
        const CLock lock(saver.mutex());
        saver->remove({STAT_FILE, BALANCE_FILE});
    }
    go.set_value();
    saver->finish();
    EXPECT_EQ(saver.all(), "none|none|all 1");
    EXPECT_EQ(saver.fileCount(), 1);

    saver.save(2);
    EXPECT_EQ(saver.all(), "all 2|all 2|all 2");
}

TEST(FileSaver, AFileThatCannotBeReadIsNeverLost) {
    const std::string broken = "资\xFF\xFE old";
    const auto put = [&](const Saver& saver) {
        CDiskFiles files;
        files.makeDirectory(saver.directory());
        const int file = files.create(saver.path(DETAIL_FILE), "");
        files.write(file, broken);
        files.close(file);
    };
    const auto bytesOf = [](const std::string& path) {
        std::string bytes;
        CDiskFiles().read(path, bytes);
        return bytes;
    };
    bool canCopy = false;
    bool canRead = true;
    Saver saver;
    put(saver);
    saver.reopen([&](const std::string& call, const std::string& path) {
        if (call == "read") return canRead;
        return canCopy || call != "create" || path.find(".unreadable") == std::string::npos;
    });
    EXPECT_FALSE(saver->load(DETAIL_FILE).has_value());
    EXPECT_EQ(bytesOf(saver.path(DETAIL_FILE)), broken);
    saver.save(1);
    EXPECT_EQ(saver.file(STAT_FILE), "all 1");
    EXPECT_EQ(bytesOf(saver.path(DETAIL_FILE)), broken);

    canRead = false;
    canCopy = true;
    saver.save(1);
    EXPECT_EQ(bytesOf(saver.path(DETAIL_FILE)), broken) << "what cannot be read is not replaced";
    canRead = true;
    saver.save(2);
    EXPECT_EQ(saver.all(), "all 2|all 2|all 2");
    EXPECT_EQ(bytesOf(saver.path(DETAIL_FILE) + ".unreadable"), broken);

    put(saver);
    saver.reopen();
    saver->load(DETAIL_FILE);
    {
        const CLock lock(saver.mutex());
        saver->remove({DETAIL_FILE});
    }
    EXPECT_EQ(saver.all(), "all 2|all 2|none");
    saver.reopen([](const std::string& call, const std::string&) { return call != "remove"; });
    {
        const CLock lock(saver.mutex());
        saver->remove({STAT_FILE});
    }
    saver.save(3);
    EXPECT_EQ(saver.all(), "all 3|all 3|all 3") << "a file that could not be removed";
    EXPECT_EQ(bytesOf(saver.path(DETAIL_FILE) + ".unreadable.2"), broken);
}

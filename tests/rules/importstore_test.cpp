#include "linkage/store/importstore.h"

#include "linkage/store/diskfaults.h"
#include "linkage/store/import/importlines.h"

#include <QTemporaryDir>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace importstoretest {
namespace {

using TC::CImportStore;
namespace disk = TC::disk;

/// A client on the directory.
struct Client {
    explicit Client(const QTemporaryDir& folder)
        : balance(folder.path().toStdString() + "/Balance"),
          lock(std::make_shared<TC::CDirectoryLock>(balance, std::make_shared<TC::CDiskFiles>())),
          store(balance + "/imports", std::make_unique<TC::CDiskFiles>(), lock,
                boost::make_shared<TC::CDoor>(), [this] { return ++asked > 0; }) {}
    const std::string balance;
    const std::shared_ptr<TC::CDirectoryLock> lock;
    int asked = 0;
    CImportStore store;
};

TC::statement::StoredImport sample() {
    TC::statement::StoredImport import;
    import.summary = {3, "/a \"b\"\n\\.csv", TC::ImportReport::Kind::Deals, "20240102090000", 2};
    for (const std::uint64_t key : {1, 2}) {
        auto deal = boost::make_shared<vexservice::CDealDetail>();
        deal->m_strMarket = "SH";
        deal->m_strCode = "600000";
        deal->m_strTradeDate = "20231229";
        deal->m_strTradeTime = "093000";
        deal->m_strDealID = "007,\"x";
        deal->m_eDirection = vexservice::ENTRUST_SELL;
        deal->m_nVolume = 100 * static_cast<int>(key);
        deal->m_dPrice = 7.123;
        deal->m_dAmount = 712.3;
        deal->m_bImported = true;
        deal->m_nRecordKey = key | std::uint64_t(1) << 63;
        import.deals.emplace_back("A\n\"|,", deal);
    }
    return import;
}

TEST(ImportLines, ComeBackAndDamagedOnesCostThemselves) {
    const auto import = sample();
    const std::string whole = textOf(import);
    EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'), 3);
    const auto back = TC::statement::importOf(whole);
    EXPECT_EQ(back.damaged, 0);
    EXPECT_EQ(back.summary.path, import.summary.path);
    auto numbered = back;
    numbered.summary.number = 3;
    EXPECT_EQ(textOf(numbered), whole);

    std::string damaged = whole;
    damaged.replace(damaged.find("\"volume\":100"), 8, "#");
    const auto left = TC::statement::importOf(damaged + "{\"account\":\"A\"");
    EXPECT_EQ(left.deals.size(), 1u);
    EXPECT_EQ(left.damaged, 2);
    // A byte that is not of UTF-8 is lost; its row is not.
    auto odd = import;
    odd.summary.path = "\xb5\xc3";
    EXPECT_EQ(TC::statement::importOf(textOf(odd)).deals.size(), 2u);
}

/// At every step of a save and of a removal: a step that fails is made good later, and a crash
/// leaves the file whole or none.
TEST(ImportStore, KeepsWhatTheDiskFailsToKeep) {
    const std::string text = textOf(sample());
    const auto change = [&](CImportStore& store, bool removes) {
        if (removes) {
            store.remove(3);
        } else {
            store.save(3, text);
        }
    };
    // A client on a directory where the removal has something to remove.
    const auto prepare = [&](const QTemporaryDir& folder, bool removes) {
        disk::begin();
        if (removes) {
            EXPECT_EQ(Client(folder).store.save(3, text), CImportStore::ESave::Done);
        }
        auto client = std::make_unique<Client>(folder);
        if (removes) {
            EXPECT_EQ(client->store.load(3), text);
        }
        return client;
    };
    for (const bool removes : {false, true}) {
        int steps = 0;
        {
            const QTemporaryDir folder;
            const auto client = prepare(folder, removes);
            const int before = disk::steps();
            change(client->store, removes);
            steps = disk::steps() - before;
            disk::end();
        }
        ASSERT_GT(steps, 1);
        for (int at = 0; at < 2 * steps; ++at) {
            const bool crashes = at >= steps;
            SCOPED_TRACE(fmt::format("{} {} at step {}", removes ? "remove" : "save",
                                     crashes ? "crash" : "fault", at % steps));
            const QTemporaryDir folder;
            {
                auto client = prepare(folder, removes);
                disk::fail({.after = at % steps,
                            .times = crashes ? disk::Fault::FOREVER : 1,
                            .error = EIO});
                change(client->store, removes);
                if (crashes) {
                    disk::crash();
                } else {
                    client->store.finish();
                }
            }
            disk::restart();
            {
                Client next(folder);
                const bool isThere = !next.store.numbers().empty();
                if (!crashes) {
                    EXPECT_EQ(isThere, !removes);
                }
                if (isThere) {
                    EXPECT_EQ(next.store.load(3), text);
                }
            }
            disk::end();
        }
    }
}

TEST(ImportStore, ChangesNothingThatIsAnothersOrTooLarge) {
    const QTemporaryDir folder;
    Client first(folder);
    ASSERT_EQ(first.store.save(1, "a\n"), CImportStore::ESave::Done);
    Client second(folder);
    EXPECT_EQ(second.store.load(1), "a\n");
    EXPECT_EQ(second.store.save(2, "b\n"), CImportStore::ESave::Later);
    second.store.remove(1);
    EXPECT_EQ(first.store.numbers(), std::vector<int>{1});
    // Nor a file that was not read here.
    TC::CDiskFiles files;
    const std::string path = first.balance + "/imports/import-000002.jsonl";
    const int file = files.create(path, path);
    files.close(file);
    EXPECT_EQ(first.store.save(2, "c\n"), CImportStore::ESave::Later);
    EXPECT_EQ(first.store.save(3, "d\n"), CImportStore::ESave::Done) << "each for itself";
    const std::string large(TC::IFileSystem::MOST_BYTES + 1, ' ');
    EXPECT_EQ(first.store.save(4, large), CImportStore::ESave::TooLarge);
    EXPECT_EQ(first.store.numbers(), (std::vector<int>{1, 2, 3}));
}

}  // namespace
}  // namespace importstoretest

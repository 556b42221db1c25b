#include "linkage/store/historypicture.h"
#include "linkage/store/historystate.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <random>
#include <utility>

// What a save takes of the history store, while the store goes on changing between the slices.

namespace {

using namespace TC;

std::string textOf(const SavedHistory& row) {
    std::string text = row.key + ":";
    if (row.stat) text += " " + row.stat->m_strStrategy;
    for (const auto& [stock, figures] : row.stocks) {
        text += fmt::format(" {} {} {}", stock, figures.buyVolume, figures.sellAmount);
    }
    for (const std::string& trade : row.tradeKeys) text += " " + trade;
    return text;
}

std::vector<std::string> textsOf(const CHistoryPicture::CTaken& taken) {
    std::vector<std::string> texts;
    for (const auto& row : taken.rows()) texts.push_back(textOf(*row));
    return texts;
}

/// The store itself, read plainly.
std::vector<std::string> textsOf(const HistoryState& store) {
    std::map<std::string, SavedHistory> rows;
    for (const auto& [key, stat] : store.m_historyStatData.get()) rows[key].stat = stat;
    for (const auto& [key, stocks] : store.m_historyLinkageData) {
        for (const auto& [stock, record] : stocks) {
            rows[key].stocks.emplace_back(stock, effectiveFigures(*record, false));
        }
    }
    for (const auto& [key, trades] : store.m_writtenTradeKeys) {
        rows[key].tradeKeys.assign(trades.begin(), trades.end());
    }
    std::vector<std::string> texts;
    for (auto& [key, row] : rows) {
        if (!row.stat && row.stocks.empty() && row.tradeKeys.empty()) continue;
        row.key = key;
        texts.push_back(textOf(row));
    }
    return texts;
}

/// A store that changes as the manager changes it.
class Store {
public:
    HistoryState state;

    void change(std::mt19937& random) {
        const std::string key = "K" + std::to_string(random() % 60);
        const std::string stock = "S" + std::to_string(random() % 3);
        auto& picture = state.m_picture;
        switch (random() % 40) {
            case 0:
                picture.newDay();
                state.m_writtenTradeKeys.clear();
                m_shared[1] = std::exchange(m_shared[0], {});
                return;
            case 1:
                state.m_historyStatData.set({});
                state.m_historyLinkageData.clear();
                picture.clear();
                return;
            case 2:
            case 3:
            case 4:
            case 5:
            case 6: {
                const auto record = LinkagePeriodExtData::make();
                state.m_historyLinkageData[key].try_emplace(stock, record);
                m_shared[0].push_back(state.m_historyLinkageData[key][stock]);
                return picture.share(key);
            }
            case 7:
            case 8:
            case 9:
            case 10:
            case 11:
            case 12:
                // A report of the day: nobody tells the picture.
                for (const auto& records : m_shared) {
                    if (records.empty()) continue;
                    records[random() % records.size()]->deals().m_nBuyVolume += 100;
                }
                return;
            case 13:
            case 14:
            case 15:
            case 16:
                state.m_historyLinkageData[key].erase(stock);
                break;
            case 17:
            case 18:
            case 19:
            case 20:
            case 21:
            case 22:
                state.m_historyStatData.with([&](auto& stats) { stats.erase(key); });
                state.m_historyLinkageData.erase(key);
                break;
            case 23:
            case 24:
            case 25:
            case 26:
            case 27:
            case 28:
                state.m_writtenTradeKeys[key].insert("T" + std::to_string(random() % 100));
                break;
            default:
                state.m_historyStatData.with([&](auto& stats) {
                    stats[key].m_strStrategy = std::to_string(random() % 1000);
                });
        }
        picture.touch(key);
    }

private:
    std::vector<FiguresPtr> m_shared[2];  ///< of the day and the day before
};

TEST(HistoryPicture, IsTheStoreAtTheMomentWhenItIsTaken) {
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        Store store;
        CHistoryPicture& picture = store.state.m_picture;
        std::vector<std::pair<CHistoryPicture::CTaken, std::vector<std::string>>> taken;
        for (int step = 0; step < 400; ++step) {
            store.change(random);
            if (random() % 2 == 0) picture.follow(store.state, false, 1 + random() % 8);
            if (random() % 20 != 0) continue;
            taken.emplace_back(picture.take(store.state, false), textsOf(store.state));
            ASSERT_EQ(textsOf(taken.back().first), taken.back().second);
        }
        for (const auto& [each, then] : taken) EXPECT_EQ(textsOf(each), then) << "later";
    }
}

// In slices, each of which does no more than it was asked for, and in the end nothing.
TEST(HistoryPicture, CopiesWhatHasChangedSinceTheLastTime) {
    HistoryState store;
    store.m_historyStatData.with([](auto& stats) {
        for (int key = 0; key < 1000; ++key) stats["K" + std::to_string(key)];
    });
    const auto slices = [&] {
        int count = 0;
        while (store.m_picture.follow(store, false, 100)) ++count;
        return count;
    };
    EXPECT_GE(slices(), 10);
    EXPECT_EQ(slices(), 0);
    for (int key = 0; key < 350; ++key) store.m_picture.touch("K" + std::to_string(key));
    EXPECT_EQ(slices(), 3);
    EXPECT_EQ(store.m_picture.take(store, false).rows().size(), 1000u);
}

}  // namespace

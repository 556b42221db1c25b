#include "common/keyindex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

using utils::CKeyIndex;

// Against a plain list, with hashes that crowd into a few places of the table and keys
// that share a whole hash.
TEST(KeyIndex, FindsWhatIsThereWhateverWasTakenOut) {
    std::mt19937 random(7);
    CKeyIndex index;
    std::vector<bool> there(400, false);
    const auto hashOf = [](std::uint32_t key) { return std::uint64_t{key % 97} * 1021; };
    for (int step = 0; step < 20000; ++step) {
        const std::uint32_t key = random() % there.size();
        if (there[key]) {
            index.remove(hashOf(key), key);
        } else {
            index.add(hashOf(key), key);
        }
        there[key] = !there[key];
        const std::uint32_t asked = random() % there.size();
        const std::uint32_t found =
            index.find(hashOf(asked), [&](std::uint32_t each) { return each == asked; });
        ASSERT_EQ(found, there[asked] ? asked : CKeyIndex::NONE) << "step " << step;
    }
}

// Entries are found, replaced and taken out while the table is emptied or moved.
TEST(KeyIndex, FindsWhatIsThereWhileItGrows) {
    constexpr std::uint32_t KEYS = 20'000;
    CKeyIndex index;
    std::vector<std::uint32_t> indexOf(KEYS, CKeyIndex::NONE);
    const auto hashOf = [](std::uint32_t key) { return utils::mixHash(key / 2); };
    const auto isAsIn = [&](std::uint32_t key) {
        const std::uint32_t expected = indexOf[key];
        return index.find(hashOf(key), [&](std::uint32_t each) { return each == expected; }) ==
               expected;
    };
    std::mt19937 random(11);
    for (std::uint32_t added = 0; added < KEYS; ++added) {
        index.add(hashOf(added), indexOf[added] = added);
        const std::uint32_t moved = random() % (added + 1);
        if (indexOf[moved] != CKeyIndex::NONE) {
            index.replace(hashOf(moved), indexOf[moved], KEYS + added);
            indexOf[moved] = KEYS + added;
        }
        const std::uint32_t gone = random() % (added + 1);
        if (added % 8 == 0 && indexOf[gone] != CKeyIndex::NONE) {
            index.remove(hashOf(gone), indexOf[gone]);
            indexOf[gone] = CKeyIndex::NONE;
        }
        for (std::uint32_t key = 0; key <= added; key += 1 + added / 50) {
            ASSERT_TRUE(isAsIn(key)) << "key " << key << " after " << added;
        }
    }
    std::vector<std::uint32_t> all;
    index.forEach([&](std::uint32_t each) { all.push_back(each); });
    std::sort(all.begin(), all.end());
    std::sort(indexOf.begin(), indexOf.end());
    indexOf.erase(std::find(indexOf.begin(), indexOf.end(), CKeyIndex::NONE), indexOf.end());
    EXPECT_EQ(all, indexOf);
}

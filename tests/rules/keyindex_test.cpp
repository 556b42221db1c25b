#include "common/keyindex.h"

#include <gtest/gtest.h>

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

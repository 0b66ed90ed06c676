#include "mutex/place_table.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <utility>

namespace {

using namespace NSTE_util;

// How a key spreads over the table: well, or all into one group, where searches go from group to
// group and erased slots must not cut them off.
template <bool CROWDED>
struct TestKey {
    int nKey = 0;
    bool operator==(const TestKey& other) const { return nKey == other.nKey; }
    std::uint64_t Hash() const {
        return CROWDED ? 5 : static_cast<std::uint64_t>(nKey) * 0x9E3779B97F4A7C15U;
    }
};

using Model = std::map<int, std::map<int, std::uint64_t>>;

template <class Key, std::size_t FEW>
void Compare(const PlaceTable<Key, FEW>& table, const Model& model, int nKeys, int nOpers) {
    const std::set<int> setOdd = {1, 3, 5};
    for (int nKey = 0; nKey < nKeys; ++nKey) {
        const auto it = model.find(nKey);
        std::int64_t nLowest = NO_OPER;
        std::int64_t nLowestOdd = NO_OPER;
        for (int nOper = nOpers - 1; nOper >= 0; --nOper) {
            const std::uint64_t nCount =
                it == model.end() || it->second.count(nOper) == 0 ? 0 : it->second.at(nOper);
            ASSERT_EQ(nCount, table.CountOf(Key{nKey}, nOper));
            if (nCount != 0)
                nLowest = nOper;
            if (nCount != 0 && setOdd.count(nOper) != 0)
                nLowestOdd = nOper;
        }
        std::int64_t nFound = NO_OPER;
        table.Find(Key{nKey}).Lowest(nFound);
        ASSERT_EQ(nLowest, nFound);
        nFound = NO_OPER;
        table.Find(Key{nKey}).LowestIn(setOdd, nFound);
        ASSERT_EQ(nLowestOdd, nFound);
    }
}

// Fills and empties in turn, so that the table grows, drops its deleted tags and is freed.
template <class Key, std::size_t FEW>
void PlayAgainstModel(int nKeys, int nOpers, int nSteps) {
    std::mt19937 random(static_cast<unsigned>(nKeys));
    PlaceTable<Key, FEW> table;
    Model model;
    for (int i = 0; i < nSteps; ++i) {
        const int nKey = static_cast<int>(random() % static_cast<unsigned>(nKeys));
        const int nOper = static_cast<int>(random() % static_cast<unsigned>(nOpers));
        const bool bFilling = i / (4 * nKeys) % 2 == 0;
        if (random() % 4 < (bFilling ? 3U : 1U)) {
            table.Add(Key{nKey}, nOper);
            ++model[nKey][nOper];
        } else {
            const bool bThere = model[nKey].count(nOper) != 0;
            ASSERT_EQ(bThere, table.Remove(Key{nKey}, nOper));
            if (bThere && --model[nKey][nOper] == 0)
                model[nKey].erase(nOper);
        }
        if (i % (nSteps / 20) == 0)
            Compare(table, model, nKeys, nOpers);
    }
    for (auto& [nKey, mapOper] : model)
        for (auto& [nOper, nCount] : mapOper)
            while (nCount-- > 0)
                ASSERT_TRUE(table.Remove(Key{nKey}, nOper));
    Compare(table, {}, nKeys, nOpers);
}

TEST(PlaceTableTest, CountsLikeAMapOfMaps) {
    PlayAgainstModel<TestKey<false>, 1>(40, 2, 20000);
    PlayAgainstModel<TestKey<false>, 2>(3000, 6, 100000);
    PlayAgainstModel<TestKey<true>, 1>(60, 3, 20000);
    PlayAgainstModel<TestKey<true>, 2>(30, 7, 20000);
}

}  // namespace

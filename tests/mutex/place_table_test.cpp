#include "mutex/place_table.h"
#include "mutex/place_keys.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <utility>

namespace {

using NSTE_util::MutexTable;
using NSTE_util::NO_OPER;
using NSTE_util::ObjKey;
using NSTE_util::OperSpans;
using NSTE_util::PairOf;
using NSTE_util::PlaceSecret;
using NSTE_util::PlaceTable;
using NSTE_util::SubKey;

// How a key spreads over the table: well, or all into one group, where searches go from group to
// group and erased slots must not cut them off.
template <bool CROWDED>
struct TestKey {
    int nKey = 0;
    bool operator==(const TestKey& other) const { return nKey == other.nKey; }
    std::uint64_t Hash(const PlaceSecret& secret) const {
        return CROWDED ? 5 : secret.Mix(static_cast<std::uint64_t>(nKey));
    }
};

using Model = std::map<int, std::map<int, std::uint64_t>>;

template <class Key, std::size_t FEW>
void Compare(const PlaceTable<Key, FEW>& table, const OperSpans& odd, const Model& model, int nKeys,
             int nOpers) {
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
            if (nCount != 0 && nOper % 2 == 1)
                nLowestOdd = nOper;
        }
        std::int64_t nFound = NO_OPER;
        table.Find(Key{nKey}).Lowest(nFound);
        ASSERT_EQ(nLowest, nFound);
        nFound = NO_OPER;
        table.Find(Key{nKey}).LowestIn(odd, nFound);
        ASSERT_EQ(nLowestOdd, nFound);
    }
}

// Fills and empties in turn, so that the table grows, drops its deleted tags and is freed.
template <class Key, std::size_t FEW>
void PlayAgainstModel(int nKeys, int nOpers, int nSteps) {
    std::mt19937 random(static_cast<unsigned>(nKeys));
    MutexTable mutexTable;
    for (int nOper = 1; nOper < nOpers; nOper += 2)
        mutexTable.AddExclusive(nOper, nOper);
    PlaceTable<Key, FEW> table(mutexTable, PlaceSecret::From(1, 2));
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
        if (i % (nSteps / 20) != 0)
            continue;
        Compare(table, mutexTable.Exclusive(), model, nKeys, nOpers);
        if (i % (nSteps / 10) == 0)  // some kinds of operations are split
            mutexTable.AddPairs(1 + i % nOpers, 7, 9, true);
    }
    for (auto& [nKey, mapOper] : model)
        for (auto& [nOper, nCount] : mapOper)
            while (nCount-- > 0)
                ASSERT_TRUE(table.Remove(Key{nKey}, nOper));
    Compare(table, mutexTable.Exclusive(), {}, nKeys, nOpers);
}

TEST(PlaceTableTest, CountsLikeAMapOfMaps) {
    PlayAgainstModel<TestKey<false>, 1>(40, 2, 20000);
    PlayAgainstModel<TestKey<false>, 2>(3000, 6, 100000);
    PlayAgainstModel<TestKey<true>, 1>(60, 3, 20000);
    PlayAgainstModel<TestKey<true>, 2>(30, 7, 20000);
    PlayAgainstModel<TestKey<false>, 1>(3, 200, 20000);  // enough for a search by kind
}

// The number whose product with nOdd is 1.
std::uint64_t InverseOf(std::uint64_t nOdd) {
    std::uint64_t nInverse = nOdd;
    for (int i = 0; i < 6; ++i)
        nInverse *= 2 - nOdd * nInverse;
    return nInverse;
}

// Who knows the secret chooses keys that all meet in one group; in a table with another secret,
// and so in another process, the same keys spread like any others.
TEST(PlaceTableTest, KeysThatWereChosenToMeetSpreadUnderAnotherSecret) {
    const PlaceSecret known = PlaceSecret::From(1, 2);
    const PlaceSecret& ours = PlaceSecret::OfProcess();
    std::set<std::uint64_t> arrSeen[2][2];
    for (int i = 1; i <= 4096; ++i) {
        std::uint64_t nPair = static_cast<std::uint64_t>(i) * InverseOf(known.nSecond);
        nPair = (nPair ^ nPair >> 32) * InverseOf(known.nFirst);  // mixed to i, a low number
        const ObjKey object{static_cast<int>(nPair >> 32), static_cast<int>(nPair)};
        const SubKey sub{i, 1, -static_cast<long>(PairOf(i, 1) * known.nSub)};
        for (const bool bOurs : {false, true}) {
            const PlaceSecret& secret = bOurs ? ours : known;
            arrSeen[bOurs][0].insert(object.Hash(secret) >> 52);
            arrSeen[bOurs][1].insert(sub.Hash(secret) >> 52);
        }
    }
    for (const auto& setSeen : arrSeen[0])
        EXPECT_EQ(1U, setSeen.size());
    for (const auto& setSeen : arrSeen[1])
        EXPECT_GT(setSeen.size(), 2000U);  // of 4096 by chance 2589
}

}  // namespace

#include "mutex/place_keys.h"
#include "mutex/place_table.h"
#include "ratio.h"

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>
#include <boost/unordered/unordered_flat_map.hpp>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <vector>

// The table of places against hash maps that a library brings: what a held object costs in time and
// in memory. Each place of an object is written as the operation manager writes it, an entry on
// each of its three levels; a place of the peers has the same entries, and the same hash, as nobody
// must be able to foretell which objects meet.
namespace {

using namespace NSTE_util;

constexpr int HOLDER = 1;
constexpr int ASKER = 2;

struct PlaceHash {
    using is_avalanching = void;  // every bit depends on every bit

    template <class Key>
    std::size_t operator()(const Key& key) const {
        return key.Hash(secret);
    }
    PlaceSecret secret = PlaceSecret::OfProcess();
};

template <template <class, class, class> class Map, class Key, std::size_t FEW>
class PeerTable {
public:
    PeerTable(const MutexTable&, const PlaceSecret&) {}

    void Add(const Key& key, int nOper) {
        for (OperEntry& entry : m_map[key])
            if (entry.nCount == 0 || entry.nOper == nOper) {
                entry.nOper = nOper;
                ++entry.nCount;
                return;
            }
    }

    bool Remove(const Key& key, int nOper) {
        const auto it = m_map.find(key);
        if (it == m_map.end())
            return false;
        bool bUsed = false;
        for (OperEntry& entry : it->second) {
            if (entry.nCount != 0 && entry.nOper == nOper)
                --entry.nCount;
            bUsed = bUsed || entry.nCount != 0;
        }
        if (!bUsed)
            m_map.erase(it);
        return true;
    }

    PlaceOpers Find(const Key& key) const {
        const auto it = m_map.find(key);
        return it == m_map.end() ? PlaceOpers() : PlaceOpers(it->second.data(), FEW);
    }

private:
    Map<Key, std::array<OperEntry, FEW>, PlaceHash> m_map;
};

template <class Key, class Value, class Hash>
using AbslMap = absl::flat_hash_map<Key, Value, Hash>;
template <class Key, class Value, class Hash>
using BoostMap = boost::unordered_flat_map<Key, Value, Hash>;

template <class Key, std::size_t FEW>
using AbslTable = PeerTable<AbslMap, Key, FEW>;
template <class Key, std::size_t FEW>
using BoostTable = PeerTable<BoostMap, Key, FEW>;

// What is held, on three levels.
template <template <class, std::size_t> class Table>
class Held {
public:
    void Add(const SubKey& sub, int nOper) {
        m_tableBelowNe.Add(NeKey{sub.nNe}, nOper);
        m_tableBelowObj.Add(ObjKey{sub.nNe, sub.nObj}, nOper);
        m_tableSub.Add(sub, nOper);
    }
    void Remove(const SubKey& sub, int nOper) {
        m_tableSub.Remove(sub, nOper);
        m_tableBelowObj.Remove(ObjKey{sub.nNe, sub.nObj}, nOper);
        m_tableBelowNe.Remove(NeKey{sub.nNe}, nOper);
    }
    bool IsFree(const SubKey& sub) const {
        return m_tableNe.Find(NeKey{sub.nNe}).IsEmpty() &&
               m_tableObj.Find(ObjKey{sub.nNe, sub.nObj}).IsEmpty() &&
               m_tableSub.Find(sub).IsEmpty();
    }

private:
    const MutexTable m_table;
    const PlaceSecret m_secret = PlaceSecret::OfProcess();
    Table<NeKey, 1> m_tableNe{m_table, m_secret};
    Table<NeKey, 2> m_tableBelowNe{m_table, m_secret};
    Table<ObjKey, 1> m_tableObj{m_table, m_secret};
    Table<ObjKey, 2> m_tableBelowObj{m_table, m_secret};
    Table<SubKey, 1> m_tableSub{m_table, m_secret};
};

// 100 NEs with 100 objects each and many sub-objects, or an NE for each object.
SubKey Spread(std::int64_t i, long lFirst) {
    return {1 + static_cast<int>(i % 100), 1 + static_cast<int>(i / 100 % 100),
            lFirst + static_cast<long>(i / 10000)};
}
SubKey Alone(std::int64_t i, long lFirst) {
    return {1 + static_cast<int>(i), 1 + static_cast<int>(i), lFirst};
}

// A request for an object beside N held ones, and its release, in an order that no cache foresees.
template <template <class, std::size_t> class Table, SubKey (*pfnObject)(std::int64_t, long)>
void HeldBeside(benchmark::State& state) {
    const std::int64_t nHeld = state.range(0);
    const auto pHeld = std::make_unique<Held<Table>>();
    for (std::int64_t i = 0; i < nHeld; ++i)
        pHeld->Add(pfnObject(i, 1), HOLDER);
    std::mt19937_64 random(7);
    std::vector<SubKey> vecAsked;
    for (int i = 0; i < 1 << 16; ++i)
        vecAsked.push_back(pfnObject(
            static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(nHeld)), 1000000000));
    std::size_t nNext = 0;
    for (auto _ : state) {
        const SubKey& sub = vecAsked[nNext++ % vecAsked.size()];
        if (!pHeld->IsFree(sub))
            state.SkipWithError("not free");
        pHeld->Add(sub, ASKER);
        pHeld->Remove(sub, ASKER);
    }
}

// clang-format off
BENCHMARK(HeldBeside<PlaceTable, Spread>)->Name("places/ours")->RangeMultiplier(10)->Range(10, 1000000);
BENCHMARK(HeldBeside<AbslTable, Spread>)->Name("places/flat_hash_map")->RangeMultiplier(10)->Range(10, 1000000);
BENCHMARK(HeldBeside<BoostTable, Spread>)->Name("places/unordered_flat_map")->RangeMultiplier(10)->Range(10, 1000000);
BENCHMARK(HeldBeside<PlaceTable, Alone>)->Name("places_alone/ours")->RangeMultiplier(10)->Range(10, 1000000);
BENCHMARK(HeldBeside<AbslTable, Alone>)->Name("places_alone/flat_hash_map")->RangeMultiplier(10)->Range(10, 1000000);
BENCHMARK(HeldBeside<BoostTable, Alone>)->Name("places_alone/unordered_flat_map")->RangeMultiplier(10)->Range(10, 1000000);
// clang-format on

template <template <class, std::size_t> class Table>
double BytesEach(std::int64_t nObjects, SubKey (*pfnObject)(std::int64_t, long)) {
    const std::int64_t nBefore = bench::HeapBytes();
    Held<Table> held;
    for (std::int64_t i = 0; i < nObjects; ++i)
        held.Add(pfnObject(i, 1), HOLDER);
    return static_cast<double>(bench::HeapBytes() - nBefore) / static_cast<double>(nObjects);
}

}  // namespace

// Bytes for a held object in tables of each kind: the sizes between two powers of two show what a
// table that doubles leaves empty.
void PrintPlaces() {
    std::printf("\n%-20s %10s %10s %14s %20s   bytes for a held object\n", "places", "objects",
                "ours", "flat_hash_map", "unordered_flat_map");
    for (const bool bAlone : {false, true})
        for (const std::int64_t n :
             {100L, 1000L, 10000L, 100000L, 120000L, 170000L, 200000L, 1000000L}) {
            const auto pfnObject = bAlone ? Alone : Spread;
            std::printf("%-20s %10lld %10.1f %14.1f %20.1f\n",
                        bAlone ? "an NE for each" : "100 NEs", static_cast<long long>(n),
                        BytesEach<PlaceTable>(n, pfnObject), BytesEach<AbslTable>(n, pfnObject),
                        BytesEach<BoostTable>(n, pfnObject));
        }
}

#include "ratio.h"
#include "row.h"

#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/tnreadcfg.h"
#include "tovelkarin/tnreqtimeout.h"

#include <benchmark/benchmark.h>
#include <ftw.h>
#include <glib.h>
#include <ini.h>
#include <iniparser/iniparser.h>
#include <urcu.h>
#include <urcu/rculfhash.h>
#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

using namespace NSTN_util;
using bench::Row;
using Items = std::map<std::string, std::string>;

std::string PathOf(const std::string& strName) {
    return bench::ScratchFolder() + "/" + strName;
}

// Items with keys in no order, or in theirs; the peers need a section around them.
std::string ItemFile(std::size_t nLines, bool bSorted, bool bSection) {
    const std::string strPath =
        PathOf("items" + std::to_string(nLines) + (bSorted ? "s" : "r") + (bSection ? "c" : "p"));
    std::vector<std::size_t> vecOrder(nLines);
    for (std::size_t i = 0; i < nLines; ++i)
        vecOrder[i] = i + 100000;
    std::mt19937 random(3);
    if (!bSorted)
        std::shuffle(vecOrder.begin(), vecOrder.end(), random);
    std::ofstream file(strPath);
    if (bSection)
        file << "[s]\n";
    for (const std::size_t n : vecOrder)
        file << "timeout_of_command_" << n << " = " << n % 977 << "\n";
    return strPath;
}

void ItemRows() {
    for (const std::size_t nLines : {std::size_t{10}, std::size_t{1000}, std::size_t{100000}})
        for (const bool bSorted : {false, true}) {
            const std::string strRow = bSorted ? "items_sorted" : "items_read";
            const auto n = static_cast<std::int64_t>(nLines);
            const std::string strPlain = ItemFile(nLines, bSorted, false);
            const std::string strSection = ItemFile(nLines, bSorted, true);
            Row(
                strRow, "ours",
                [=](std::size_t) {
                    Items mapItem;
                    ReadCfgItemFromFile(strPlain, mapItem);
                    return mapItem.size();
                },
                n);
            Row(
                strRow, "inih",
                [=](std::size_t) {
                    Items mapItem;
                    ini_parse(
                        strSection.c_str(),
                        [](void* pUser, const char*, const char* szName, const char* szValue) {
                            (*static_cast<Items*>(pUser))[szName] = szValue;
                            return 1;
                        },
                        &mapItem);
                    return mapItem.size();
                },
                n);
            Row(
                strRow, "glib",
                [=](std::size_t) {
                    GKeyFile* const pFile = g_key_file_new();
                    const gboolean bLoaded = g_key_file_load_from_file(pFile, strSection.c_str(),
                                                                       G_KEY_FILE_NONE, nullptr);
                    g_key_file_free(pFile);
                    return bLoaded;
                },
                n);
            if (nLines <= 1000) {
                Row(
                    strRow, "iniparser",
                    [=](std::size_t) {
                        dictionary* const pItems = iniparser_load(strSection.c_str());
                        const int nSections = iniparser_getnsec(pItems);
                        iniparser_freedict(pItems);
                        return nSections;
                    },
                    n);
                Row(
                    strRow, "boost",
                    [=](std::size_t) {
                        boost::property_tree::ptree tree;
                        boost::property_tree::read_ini(strSection, tree);
                        return tree.size();
                    },
                    n);
            }
        }
}

void WriteRows() {
    static Items ITEMS;
    static std::list<std::string> LINES;
    for (int i = 0; i < 1000; ++i)
        ITEMS["timeout_of_command_" + std::to_string(i)] = std::to_string(i * 7);
    for (int i = 0; i < 100000; ++i)
        LINES.push_back("line " + std::to_string(i) + " of a log that is written at once\n");
    static const std::string PATH = PathOf("written");
    Row("items_write", "ours", [](std::size_t) { return WriteCfgItemToFile(PATH, ITEMS); });
    Row("items_write", "ofstream", [](std::size_t) {
        std::ofstream file(PATH);
        for (const auto& [strKey, strValue] : ITEMS)
            file << strKey << " = " << strValue << "\n";
        return file.good();
    });
    Row("items_write", "fprintf", [](std::size_t) {
        std::FILE* const pFile = std::fopen(PATH.c_str(), "w");
        for (const auto& [strKey, strValue] : ITEMS)
            std::fprintf(pFile, "%s = %s\n", strKey.c_str(), strValue.c_str());
        return std::fclose(pFile);
    });
    Row("lines_write", "ours", [](std::size_t) { return WriteStrToFile(PATH, LINES); });
    Row("lines_write", "ofstream", [](std::size_t) {
        std::ofstream file(PATH);
        for (const std::string& strLine : LINES)
            file << strLine;
        return file.good();
    });
    Row("lines_write", "fprintf", [](std::size_t) {
        std::FILE* const pFile = std::fopen(PATH.c_str(), "w");
        for (const std::string& strLine : LINES)
            std::fprintf(pFile, "%s", strLine.c_str());
        return std::fclose(pFile);
    });
}

void ReadRows() {
    static const std::string PATH = PathOf("large");
    std::ofstream file(PATH);
    for (int i = 0; i < 200000; ++i)
        file << "line " << i << " of a file of about ten megabytes in all ...\n";
    file.close();
    Row("file_read", "ours", [](std::size_t) {
        std::string strText;
        ReadStrFromFile(PATH, strText);
        return strText.size();
    });
    Row("file_read", "fread", [](std::size_t) {
        std::string strText(std::filesystem::file_size(PATH), '\0');
        std::FILE* const pFile = std::fopen(PATH.c_str(), "r");
        const std::size_t nRead = std::fread(strText.data(), 1, strText.size(), pFile);
        std::fclose(pFile);
        return nRead;
    });
    Row("lines_read", "ours", [](std::size_t) {
        std::list<std::string> listLine;
        ReadStrFromFile(PATH, listLine, 0);
        return listLine.size();
    });
    Row("lines_read", "getline", [](std::size_t) {
        std::list<std::string> listLine;
        std::FILE* const pFile = std::fopen(PATH.c_str(), "r");
        char* szLine = nullptr;
        std::size_t nRoom = 0;
        for (ssize_t n; (n = getline(&szLine, &nRoom, pFile)) > 0;)
            listLine.emplace_back(szLine, static_cast<std::size_t>(n) - 1);
        std::free(szLine);
        std::fclose(pFile);
        return listLine.size();
    });
}

void LookupRows() {
    static TNReadCfg cfg;
    static Items ITEMS;
    const std::string strPath = ItemFile(1000, false, false);
    cfg.SetFileName(strPath);
    ReadCfgItemFromFile(strPath, ITEMS);
    static std::vector<std::string> KEYS;
    for (const auto& [strKey, strValue] : ITEMS)
        KEYS.push_back(strKey);
    Row("item_by_name", "ours", [](std::size_t i) {
        std::string strValue;
        cfg.GetItemValue(KEYS[i * 7919 % KEYS.size()], strValue);
        return strValue.size();
    });
    Row("item_by_name", "map", [](std::size_t i) {
        std::string strValue;
        const auto it = ITEMS.find(KEYS[i * 7919 % KEYS.size()]);
        if (it != ITEMS.end())
            strValue = it->second;
        return strValue.size();
    });

    for (const int nLines : {1000, 100000}) {
        const std::string strTimeouts = PathOf("timeouts" + std::to_string(nLines));
        const std::string strPeer = PathOf("timeouts_peer" + std::to_string(nLines));
        for (const std::string& strFile : {strTimeouts, strPeer}) {
            std::ofstream file(strFile);
            file << "[cmdreq_common_config]\nneed_auto_refresh = 1\n[cmdreq_command_timeout]\n";
            for (int i = 0; i < nLines; ++i)
                file << i << " = " << i % 100 + 1 << "\n";
        }
        Row(
            "timeouts_load", "ours",
            [=](std::size_t) {
                return NSTE_util::TNReqTimeoutIF::Instance()->LoadTimeoutCfgFile(strTimeouts);
            },
            nLines);
        Row(
            "timeouts_load", "inih",
            [=](std::size_t) {
                std::map<int, int> mapSeconds;
                ini_parse(
                    strPeer.c_str(),
                    [](void* pUser, const char*, const char* szName, const char* szValue) {
                        (*static_cast<std::map<int, int>*>(pUser))[std::atoi(szName)] =
                            std::atoi(szValue);
                        return 1;
                    },
                    &mapSeconds);
                return mapSeconds.size();
            },
            nLines);
    }
}

std::shared_mutex g_lock;
std::unordered_map<int, int> g_mapSeconds;

void TimeoutOurs(benchmark::State& state) {
    if (state.thread_index() == 0) {
        const std::string strFile = PathOf("timeouts10000");
        std::ofstream file(strFile);
        file << "[cmdreq_common_config]\nneed_auto_refresh = 1\n[cmdreq_command_timeout]\n";
        for (int i = 0; i < 10000; ++i)
            file << i << " = " << i % 100 + 1 << "\n";
        file.close();
        NSTE_util::TNReqTimeoutIF::Destroy();
        NSTE_util::TNReqTimeoutIF::Instance()->LoadTimeoutCfgFile(strFile);
    }
    unsigned n = static_cast<unsigned>(state.thread_index());
    for (auto _ : state)
        benchmark::DoNotOptimize(NSTE_util::TNReqTimeoutIF::Instance()->GetReqTimeOutValue(
            static_cast<int>((n += 7919) % 10000), 1, false));
}

void TimeoutPeer(benchmark::State& state) {
    if (state.thread_index() == 0)
        for (int i = 0; i < 10000; ++i)
            g_mapSeconds[i] = i % 100 + 1;
    unsigned n = static_cast<unsigned>(state.thread_index());
    for (auto _ : state) {
        const std::shared_lock<std::shared_mutex> guard(g_lock);
        const auto it = g_mapSeconds.find(static_cast<int>((n += 7919) % 10000));
        benchmark::DoNotOptimize(it == g_mapSeconds.end() ? 60 : it->second);
    }
}

// A table that readers look into without a lock, as ours do.
struct RcuSeconds {
    cds_lfht_node node;  // first: found again by its address
    int nCmd;
    int nSeconds;
};
std::deque<RcuSeconds> g_queueRcu;
cds_lfht* g_pRcuTable = nullptr;

int IsRcuCommand(cds_lfht_node* pNode, const void* pCmd) {
    return reinterpret_cast<RcuSeconds*>(pNode)->nCmd == *static_cast<const int*>(pCmd) ? 1 : 0;
}

unsigned long RcuHash(int nCmd) {
    return static_cast<unsigned long>(nCmd) * 0x9E3779B97F4A7C15UL >> 32;
}

void FillRcuTable() {
    if (g_pRcuTable != nullptr)
        return;
    g_pRcuTable = cds_lfht_new(16384, 16384, 0, 0, nullptr);
    for (int i = 0; i < 10000; ++i) {
        RcuSeconds& seconds = g_queueRcu.emplace_back();
        cds_lfht_node_init(&seconds.node);
        seconds.nCmd = i;
        seconds.nSeconds = i % 100 + 1;
        rcu_read_lock();
        cds_lfht_add(g_pRcuTable, RcuHash(i), &seconds.node);
        rcu_read_unlock();
    }
}

void TimeoutRcu(benchmark::State& state) {
    rcu_register_thread();
    if (state.thread_index() == 0)
        FillRcuTable();
    unsigned n = static_cast<unsigned>(state.thread_index());
    for (auto _ : state) {
        const int nCmd = static_cast<int>((n += 7919) % 10000);
        rcu_read_lock();
        cds_lfht_iter iter;
        cds_lfht_lookup(g_pRcuTable, RcuHash(nCmd), IsRcuCommand, &nCmd, &iter);
        cds_lfht_node* const pNode = cds_lfht_iter_get_node(&iter);
        benchmark::DoNotOptimize(pNode == nullptr ? 60
                                                  : reinterpret_cast<RcuSeconds*>(pNode)->nSeconds);
        rcu_read_unlock();
    }
    rcu_unregister_thread();
}

BENCHMARK(TimeoutOurs)->Name("timeout/ours");
BENCHMARK(TimeoutRcu)->Name("timeout/liburcu");
BENCHMARK(TimeoutRcu)->Name("timeout_two_threads/liburcu")->Threads(2)->UseRealTime();
BENCHMARK(TimeoutPeer)->Name("timeout/shared_mutex");
BENCHMARK(TimeoutOurs)->Name("timeout_two_threads/ours")->Threads(2)->UseRealTime();
BENCHMARK(TimeoutPeer)->Name("timeout_two_threads/shared_mutex")->Threads(2)->UseRealTime();

std::atomic<long> g_nBytes{0};

std::string TreeOf(std::int64_t nFiles) {
    return PathOf("tree" + std::to_string(nFiles));
}

// Only when a row needs it: a hundred thousand files take a while.
void MakeTree(std::int64_t nFiles) {
    const std::string strTree = TreeOf(nFiles);
    if (std::filesystem::exists(strTree))
        return;
    for (std::int64_t i = 0; i < nFiles; ++i) {
        const std::string strFolder = strTree + "/" + std::to_string(i / 500);
        if (i % 500 == 0)
            std::filesystem::create_directories(strFolder);
        std::ofstream(strFolder + "/file" + std::to_string(i)) << i;
    }
}

void MakeTreeOf(const benchmark::State& state) {
    MakeTree(state.range(0));
}

void FolderRows() {
    for (const int nFiles : {1000, 100000}) {
        const std::string strTree = TreeOf(nFiles);
        Row(
            "tree_size", "ours", [=](std::size_t) { return GetFolerSize(strTree, 10000000); },
            nFiles)
            ->Setup(MakeTreeOf);
        Row(
            "tree_size", "nftw",
            [=](std::size_t) {
                g_nBytes = 0;
                nftw(
                    strTree.c_str(),
                    [](const char*, const struct stat* pStat, int nKind, FTW*) {
                        g_nBytes += nKind == FTW_F ? pStat->st_size : 0;
                        return 0;
                    },
                    64, FTW_PHYS);
                return g_nBytes.load();
            },
            nFiles)
            ->Setup(MakeTreeOf);
    }
    static const std::string FOLDER = PathOf("tree1000/0");
    Row("folder_list", "ours", [](std::size_t) {
        std::list<std::string> listName;
        GetAllFile(FOLDER, listName);
        return listName.size();
    })->Setup([](const benchmark::State&) { MakeTree(1000); });
    Row("folder_list", "glib", [](std::size_t) {
        std::list<std::string> listName;
        GDir* const pDir = g_dir_open(FOLDER.c_str(), 0, nullptr);
        while (const char* const szName = g_dir_read_name(pDir))
            listName.emplace_back(szName);
        g_dir_close(pDir);
        listName.sort();
        return listName.size();
    })->Setup([](const benchmark::State&) { MakeTree(1000); });
    for (const int nFolders : {5, 1000, 10000}) {
        std::string strPath;
        for (int i = 0; i < nFolders; ++i)
            strPath += i % 4 == 3 ? "/.." : "/folder" + std::to_string(i);
        Row(
            "path_absolute", "ours",
            [=](std::size_t) {
                std::string str = strPath;
                ConvertAbsolutePath(str);
                return str.size();
            },
            nFolders);
        Row(
            "path_absolute", "glib",
            [=](std::size_t) {
                char* const szPath = g_canonicalize_filename(strPath.c_str(), "/");
                const std::size_t nSize = strlen(szPath);
                g_free(szPath);
                return nSize;
            },
            nFolders);
    }
}

[[maybe_unused]] const bool g_bRegistered = [] {
    ItemRows();
    WriteRows();
    ReadRows();
    LookupRows();
    FolderRows();
    return true;
}();

}  // namespace

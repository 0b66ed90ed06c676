#pragma once

#include "tovelkarin/export.h"

#include <cstdint>
#include <map>
#include <string>

namespace NSTN_util {

// The items of one configuration-item file (docs/formats/item-file.md), read again by itself when
// the file has changed: a getter looks at most once per 301 seconds of the platform's clock, and
// reads the file only when its modification time is another one. A file that cannot be read leaves
// the items of the last good load in force.
//
// No lock: one object belongs to one thread at a time. A copy goes its own way. No operation
// throws: where memory is lacking, that is reported, the answer is that of a failure, and what is
// there stays. Cost of a getter between checks: one look at the clock and one at the map.
class TN_API TNReadCfg {
public:
    // No file, no items, never checked.
    TNReadCfg();

    // Takes the path of the file, separators turned as by ConvertPathSplit; reads nothing and keeps
    // the items that are there, and the times: another file is read at the next check, unless its
    // modification time is that of the file read last. Whether strFile names a plain file.
    bool SetFileName(const std::string& strFile);

    // True when 301 seconds or more, either way, lie between now and the last check; this is then
    // the last check.
    bool IsNeedReloadCfgFile();

    // Adds the items of the file to mapItem; false when it cannot be read (line:
    // "LoadCfgItemFromFile Open file(%s) error! "); without memory some may have been added.
    bool LoadCfgItemFromFile(std::map<std::string, std::string>& mapItem);

    // Reads the file if its modification time is not that of the last good load. What is read takes
    // the place of all items; on failure they stay (line: "LoadCfgFileContent Open file(%s) error!
    // ").
    void InitCfgItem();

    // InitCfgItem, if a check is due.
    void ReLoadCfgFileIfNeed();

    // The value of a key; false, with the output untouched, when there is none, or no number:
    // digits alone, decimal or hexadecimal behind "0x", as isHexDecStr has it.
    bool GetItemValue(const std::string& strKey, std::string& strValue);
    bool GetItemValue(const std::string& strKey, int& nValue);

    // Sets mapItem to all items. Always true, without memory too: mapItem then stays as it was.
    // Cost: linear in the items.
    bool GetAllCfgItem(std::map<std::string, std::string>& mapItem);

private:
    std::map<std::string, std::string> m_mapCfgItem;
    std::string m_strFileName;
    std::int64_t m_tFileModifyTime;  // of the last good load, seconds since 1970, UTC
    std::int64_t m_tLastCheckTime;   // the same
    bool m_bLoadSuccess;             // of the last load
};

}  // namespace NSTN_util

#include "tovelkarin/tnreadcfg.h"

#include "config/check_due.h"
#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/nml_filemgr.h"
#include "tovelkarin/stringutil.h"
#include "trace/trace_line.h"

// The items of one file, which is looked at again when somebody asks and 301 seconds have passed. A
// new map takes the place of the old one when it is whole, so a file that cannot be read leaves the
// items as they were. Between two looks an answer costs the present second and one search in the
// map.
namespace NSTN_util {

TNReadCfg::TNReadCfg() : m_tFileModifyTime(0), m_tLastCheckTime(0), m_bLoadSuccess(false) {}

bool TNReadCfg::SetFileName(const std::string& strFile) {
    const bool bFile = IsFile(strFile);
    GuardedCall([&] {
        std::string strPath = strFile;
        ConvertPathSplit(strPath);
        m_strFileName.swap(strPath);
    });
    return bFile;
}

bool TNReadCfg::IsNeedReloadCfgFile() {
    const std::int64_t tNow = GetCurUtcTime();
    if (!IsCheckDue(tNow, m_tLastCheckTime))
        return false;
    m_tLastCheckTime = tNow;
    return true;
}

bool TNReadCfg::LoadCfgItemFromFile(std::map<std::string, std::string>& mapItem) {
    int nResult = -1;
    GuardedCall([&] { nResult = ReadCfgItemFromFile(m_strFileName, mapItem); });
    if (nResult == 0)
        return true;
    Report("LoadCfgItemFromFile Open file(%s) error! ", m_strFileName);
    return false;
}

void TNReadCfg::InitCfgItem() {
    const std::int64_t tModify = GetModifyFileUTCTime(m_strFileName);
    // Deliberate: a file of the time 0, 1970, is taken for one that is loaded already.
    if (tModify == m_tFileModifyTime)
        return;
    std::map<std::string, std::string> mapItem;
    m_bLoadSuccess = LoadCfgItemFromFile(mapItem);
    if (!m_bLoadSuccess)
        return Report("LoadCfgFileContent Open file(%s) error! ", m_strFileName);
    m_mapCfgItem.swap(mapItem);
    m_tFileModifyTime = tModify;
}

void TNReadCfg::ReLoadCfgFileIfNeed() {
    if (IsNeedReloadCfgFile())
        InitCfgItem();
}

bool TNReadCfg::GetItemValue(const std::string& strKey, std::string& strValue) {
    ReLoadCfgFileIfNeed();
    const auto it = m_mapCfgItem.find(strKey);
    if (it == m_mapCfgItem.end())
        return false;
    bool bCopied = false;
    GuardedCall([&] {
        strValue = it->second;
        bCopied = true;
    });
    return bCopied;
}

bool TNReadCfg::GetItemValue(const std::string& strKey, int& nValue) {
    ReLoadCfgFileIfNeed();
    const auto it = m_mapCfgItem.find(strKey);
    if (it == m_mapCfgItem.end() || !isHexDecStr(it->second))
        return false;
    nValue = HexDecStr2Int(it->second);
    return true;
}

bool TNReadCfg::GetAllCfgItem(std::map<std::string, std::string>& mapItem) {
    ReLoadCfgFileIfNeed();
    GuardedCall([&] {
        std::map<std::string, std::string> mapCopy = m_mapCfgItem;
        mapItem.swap(mapCopy);
    });
    return true;
}

}  // namespace NSTN_util

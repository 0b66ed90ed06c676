#include "tovelkarin/telangresmgr.h"

#include "config/root_path.h"
#include "trace/trace_line.h"
#include "util/read_file.h"
#include "util/singleton.h"

#include "zemb/settings.h"

#include <ace/OS_NS_stdio.h>
#include <ace/Thread_Mutex.h>

#include <string_view>
#include <unordered_map>

namespace NSTN_util {

namespace {

constexpr int LINE_ENTRY = 1;  // results of ZembGetLine
constexpr int LINE_OTHER = 2;
constexpr int LINE_ERROR = -1;

}  // namespace

struct TELangResMgr::Hidden {
    Hidden() { mapText.max_load_factor(0.5F); }

    ACE_Thread_Mutex mutex;
    std::unordered_map<std::string_view, const std::string*> mapText;  // views of the table's keys
};

std::atomic<TELangResMgr*> TELangResMgr::m_pInstance{nullptr};

TELangResMgr* TELangResMgr::Instance() {
    return CreateOnce(m_pInstance, [] { return new TELangResMgr; });
}

void TELangResMgr::Destroy() {
    DestroyOnce(m_pInstance);
}

TELangResMgr::TELangResMgr() : m_bLoaded(false), m_pHidden(std::make_unique<Hidden>()) {}

TELangResMgr::~TELangResMgr() = default;

bool TELangResMgr::GetLangPath(const char* szDir, std::string& strOutPath) {
    bool bFound = false;
    GuardedCall([&] {
        const std::string strRoot = NSTE_util::GetZEMBRootPath();
        if (strRoot.empty()) {
            ACE_OS::printf("Can not find the Environment variant.");
            return;
        }
        if (strRoot.size() > ROOT_PATH_MAX) {
            ACE_OS::printf("Environment variant'length is too long, please modify.\n");
            return;
        }
        strOutPath = strRoot + (szDir == nullptr ? "" : szDir) +
                     Zembcommon::ZembMsg::instance()->getLanguage() + "/";
        Report("GetLangPath outpath = %s", strOutPath);
        bFound = true;
    });
    return bFound;
}

int TELangResMgr::LoadLangFile(const char* szDir, const char** arrFile) {
    std::string strFolder;
    if (!GetLangPath(szDir, strFolder) || arrFile == nullptr)
        return 0;
    GuardedCall([&] {
        for (; *arrFile != nullptr; ++arrFile)
            LoadLangFileImpl((strFolder + *arrFile).c_str());
    });
    m_bLoaded = true;
    return 1;
}

int TELangResMgr::LoadLangFileImpl(const char* szPath) {
    int nResult = -1;
    GuardedCall([&] {
        struct stat info {};
        const OpenFile file = OpenWithEnd(szPath == nullptr ? "" : szPath, info);
        if (file == nullptr)
            return Report("Read lang res file fail.");
        int nLine = LINE_OTHER;
        while (nLine == LINE_ENTRY || nLine == LINE_OTHER) {
            char szKey[ZEMB_LINE_BUFFER] = {};
            char szText[ZEMB_LINE_BUFFER] = {};
            nLine = ZembGetLine(szKey, szText, file.get());
            if (nLine != LINE_ENTRY)
                continue;
            // Also of a key that is there: the memory for its place in the index may have lacked.
            const auto it = m_mapResource.emplace(szKey, szText).first;
            m_pHidden->mapText.emplace(it->first, &it->second);
        }
        nResult = nLine == LINE_ERROR ? -1 : 0;
    });
    return nResult;
}

std::string TELangResMgr::GetResourceStr(const std::string& strKey) {
    if (!m_bLoaded)
        return "";
    const auto it = m_pHidden->mapText.find(strKey);
    return it == m_pHidden->mapText.end() ? "" : *it->second;
}

std::string GetZEMBEnvironment() {
    std::string strResult;
    GuardedCall([&] {
        std::string strServer;
        EmfGetServerPath(strServer);
        if (!strServer.empty())
            strResult = strServer + "nml";
    });
    return strResult;
}

}  // namespace NSTN_util

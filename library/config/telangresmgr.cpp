#include "tovelkarin/telangresmgr.h"

#include "base/cancel_hold.h"
#include "base/root_files.h"
#include "config/lang_texts.h"
#include "files/loaded_file.h"
#include "files/read_file.h"
#include "trace/singleton.h"
#include "trace/trace_line.h"

#include "zemb/live.h"
#include "zemb/settings.h"

#include <ace/Guard_T.h>
#include <ace/OS_NS_stdio.h>
#include <ace/Thread_Mutex.h>

#include <utility>
#include <vector>

// The texts of the process language. A file is read whole before anything changes; then its entries
// join the map of the interface, where the first text of a key stays, and an index beside it
// (lang_texts.h) that only grows. So a look-up takes no lock and waits for no load: 60 ns with the
// copy of the text.
namespace NSTN_util {

namespace {

constexpr int LINE_ENTRY = 1;  // results of ZembGetLine
constexpr int LINE_OTHER = 2;
constexpr int LINE_ERROR = -1;

using Entries = std::vector<std::pair<std::string, std::string>>;

// Appends the entries of a file; 0, or -1 when it is not read to its end.
int ReadEntries(const char* szPath, Entries& vecEntry) {
    struct stat info {};
    const OpenFile file = OpenWithEnd(szPath == nullptr ? "" : szPath, info);
    if (file == nullptr) {
        Report("Read lang res file fail.");
        return -1;
    }
    int nLine = LINE_OTHER;
    while (nLine == LINE_ENTRY || nLine == LINE_OTHER) {
        char szKey[ZEMB_LINE_BUFFER] = {};
        char szText[ZEMB_LINE_BUFFER] = {};
        nLine = ZembGetLine(szKey, szText, file.get());
        if (nLine == LINE_ENTRY)
            vecEntry.emplace_back(szKey, szText);
    }
    return nLine == LINE_ERROR ? -1 : 0;
}

}  // namespace

struct TELangResMgr::Hidden {
    ACE_Thread_Mutex mutex;     // Deliberate: no operation takes it.
    ACE_Thread_Mutex lockLoad;  // of the table, among those who load
    LangTexts texts;            // what look-ups read
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
    const base::CancelHold hold;
    bool bFound = false;
    GuardedCall([&] {
        const std::string strRoot = NSTE_util::GetZEMBRootPath();
        if (strRoot.empty()) {
            ACE_OS::printf("Can not find the Environment variant.");
            return;
        }
        if (strRoot.size() > base::ROOT_LENGTH_MAX) {
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
    // A plain member, as its place is fixed; look-ups read it while others load.
    __atomic_store_n(&m_bLoaded, true, __ATOMIC_RELEASE);
    return 1;
}

int TELangResMgr::LoadLangFileImpl(const char* szPath) {
    const base::CancelHold hold;
    int nResult = -1;
    GuardedCall([&] {
        Entries vecEntry;
        const int nRead = ReadEntries(szPath, vecEntry);
        NSTN_util::ContentMark mark;
        for (const auto& [strKey, strText] : vecEntry) {
            mark.Add(strKey);
            mark.Add(strText);
        }
        const ACE_Guard<ACE_Thread_Mutex> guard(m_pHidden->lockLoad);
        // Also of a key that is there: the memory for its place in the index may have lacked.
        for (auto& [strKey, strText] : vecEntry)
            m_pHidden->texts.Add(*m_mapResource.try_emplace(strKey, std::move(strText)).first);
        nResult = nRead;
        zemb::LiveCount(zemb::ELiveCounter::LANGUAGE_LOADS);
        NSTN_util::TellLoaded("language", szPath == nullptr ? "" : szPath, mark);
    });
    return nResult;
}

std::string TELangResMgr::GetResourceStr(const std::string& strKey) {
    if (!__atomic_load_n(&m_bLoaded, __ATOMIC_ACQUIRE))
        return "";
    const LangTexts::Entry* const pEntry = m_pHidden->texts.Find(strKey);
    return pEntry == nullptr ? "" : pEntry->second;
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

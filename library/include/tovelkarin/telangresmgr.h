#pragma once

#include "tovelkarin/export.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>

namespace NSTN_util {

// The texts of the process language: a table from key to text, filled from resource files
// (docs/formats/language-files.md), usually while the process starts, and looked up by any code.
//
// Any thread, also while others load: a look-up takes no lock, and finds a text as soon as it is in
// the table. There is no unload; what is loaded a second time adds keys and replaces none. A file
// is read without any lock. Kept until Destroy(): the texts, and an index of at most 64 bytes a
// key.
class TN_API TELangResMgr {
public:
    // The one manager, made empty at the first call. Null only when the process-wide static-object
    // lock cannot be taken, or memory is lacking, and no manager is there yet.
    static TELangResMgr* Instance();
    // Deletes the manager with its texts; nothing without one. Nobody may be using it.
    static void Destroy();

    ~TELangResMgr();
    TELangResMgr(const TELangResMgr&) = delete;
    TELangResMgr& operator=(const TELangResMgr&) = delete;

    // The folder of the process language: root, szDir, language, "/", with nothing put between:
    // "/x" and "/conf/lang/" give "/x/conf/lang/en/". A null szDir counts as "". Without a root, or
    // with one of over 245 characters, it prints why to standard output, answers false and leaves
    // strOutPath alone. Line: "GetLangPath outpath = %s".
    bool GetLangPath(const char* szDir, std::string& strOutPath);

    // Loads each file of the list, which a null pointer ends, from the language folder. 1 when
    // done, files that are missing included; 0, with nothing loaded, without a folder or a list.
    int LoadLangFile(const char* szDir, const char** arrFile);

    // Adds the entries of one file; of several with the same key the first stays. 0; -1 when it
    // cannot be opened, which a file of over 1 GiB and what is no plain file cannot (line: "Read
    // lang res file fail."), or read to its end; what was read until then counts.
    int LoadLangFileImpl(const char* szPath);

    // The text of exactly this key; "" when there is none or LoadLangFile has not succeeded yet.
    std::string GetResourceStr(const std::string& strKey);

protected:
    TELangResMgr();

    static std::atomic<TELangResMgr*> m_pInstance;

private:
    struct Hidden;

    bool m_bLoaded;
    std::map<std::string, std::string> m_mapResource;
    std::unique_ptr<Hidden>
        m_pHidden;  // the mutex, which no operation takes, and what look-ups read
};

// The working folder of the network-management layer: the platform's server path followed directly
// by "nml"; "" when there is no server path.
TN_API std::string GetZEMBEnvironment();

}  // namespace NSTN_util

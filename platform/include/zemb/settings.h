#pragma once

#include "zemb/export.h"

#include <cstddef>
#include <cstdio>
#include <string>

// Looks szKey up in a key = value file and stores its integer: decimal, or hexadecimal after "0x",
// either with a minus sign before it; the whole value must be the number and fit 32 bits.
// Returns 1 when found and stored, 0 when not (no such file, key or number); nValue is then
// untouched. A null or empty szFile means root + "/etc/oss_cfg/ems.cfg". Writes no trace line.
//
// The file: lines of key = value, blanks around both ignored, "#" first on a line starts a comment;
// the last line of a key counts. A line of over 1,022 characters ends the reading after its first
// 1,022. Reads the file at every call. Any thread.
ZEMB_API int ZembGetRegInt(const char* szKey, int& nValue, const char* szFile);

// Sets strPath to the folder of the server's data: the root with "/" at its end; "" without a root.
ZEMB_API void EmfGetServerPath(std::string& strPath);

// The type of the process language: ZEMB_LANG_TYPE_CHINESE when its name begins with "zh", else
// ZEMB_LANG_TYPE_WESTERN, the type that puts a blank between a word and a number.
ZEMB_API int ZembGetLangType();
constexpr int ZEMB_LANG_TYPE_CHINESE = 0;
constexpr int ZEMB_LANG_TYPE_WESTERN = 1;

// The size of each of the two buffers that ZembGetLine writes to.
constexpr std::size_t ZEMB_LINE_BUFFER = 1024;

// Reads the next line of a file of texts, "key = text": blanks around both are dropped, the first
// "=" divides. Returns 1 for an entry; 2 for a line without one (blank, "#" first, no "="); 0 at
// the end of the file; -1 when reading fails, or for a null argument. Key and text are cut to 1,023
// bytes, never within a UTF-8 character, and end with a zero byte; with a result other than 1 they
// are "".
ZEMB_API int ZembGetLine(char* szKey, char* szText, std::FILE* pFile);

namespace Zembcommon {

// The message service; lives to the end of the process. Any thread.
class ZEMB_API ZembMsg {
public:
    static ZembMsg* instance();  // never null
    // The language of the process, the name of a language folder: what the host set, else the
    // environment variable ZEMB_LANG, else "en".
    std::string getLanguage() const;

private:
    ZembMsg() = default;
};

}  // namespace Zembcommon

namespace NSTE_util {

// The installation root: what the host set, else the environment variable ZEMB_ROOT, else "".
ZEMB_API std::string GetZEMBRootPath();

// The EMS configuration file, given to ZembGetRegInt. Null (as at first): the one under the root.
// The host sets it before it starts modules; the text must stay alive.
ZEMB_API extern const char* emscfgfile;

// Switches of the platform; plain words, written while a module starts and read by all.
ZEMB_API extern bool g_bEnableInt3;
ZEMB_API extern bool g_bEnableLog;
ZEMB_API extern bool g_bEnableAsnLog;
ZEMB_API extern bool g_bEnableMmlTrace;

}  // namespace NSTE_util

namespace FrameUtil {

// A value of the user configuration. False, with strValue untouched, when there is none, and when
// the configuration cannot be read. Any thread.
ZEMB_API bool GetUserCfgInfo(const std::string& strSection, const std::string& strKey,
                             std::string& strValue) noexcept;

}  // namespace FrameUtil

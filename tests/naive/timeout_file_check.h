#pragma once

#include "tests/naive/item_file_check.h"

#include "tovelkarin/tnreqtimeout.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <optional>
#include <sstream>

// Time-outs from a file that is edited, touched and looked at while the clock jumps.
namespace naive {

// The service step by step; the file is a text and a modification time.
class TimeoutModel {
public:
    struct File {
        bool bThere = false;
        std::string strText;
        long tModify = 0;
    };

    explicit TimeoutModel(const File& file) : m_file(file) {}

    int Load() {
        m_bSuccess = false;
        m_tLoaded = m_file.bThere ? m_file.tModify : -1;
        if (!m_file.bThere)
            return 0;
        std::map<std::string, std::vector<std::string>> mapSection;
        std::optional<std::string> strSection;
        std::istringstream text(m_file.strText);
        for (std::string strLine; std::getline(text, strLine);) {
            strLine = Trimmed(strLine.substr(0, strLine.find('#')));
            const std::size_t nOpen = strLine.find('[');
            const std::size_t nClose =
                nOpen == std::string::npos ? nOpen : strLine.find(']', nOpen);
            if (nClose != std::string::npos) {
                strSection = Trimmed(strLine.substr(nOpen + 1, nClose - nOpen - 1));
                mapSection[*strSection];
            } else if (!strLine.empty() && strSection) {
                mapSection[*strSection].push_back(strLine);
            }
        }
        if (mapSection.count("cmdreq_common_config") != 0) {
            const auto& vecLine = mapSection["cmdreq_common_config"];
            m_nDefault = Attribute(vecLine, "default_timeout", 60);
            m_nOffset = Attribute(vecLine, "offset_time", 0);
            m_bRefresh = Attribute(vecLine, "need_auto_refresh", 0) != 0;
            m_bSuccess = true;
        }
        Commands(mapSection["cmdreq_command_timeout"], m_mapTimeout);
        Commands(mapSection["cmdreq_timedual_do"], m_mapDual);
        return m_bSuccess ? 1 : 0;
    }

    void BeforeQuery(long tNow) {
        if (std::labs(tNow - m_tChecked) <= 300)
            return;
        m_tChecked = tNow;
        if (m_bRefresh && (!m_bSuccess || (m_file.bThere ? m_file.tModify : -1) != m_tLoaded))
            Load();
    }

    int Timeout(int nCmd, int nCount, bool bOffset) const {
        long t = m_mapTimeout.count(nCmd) != 0 ? m_mapTimeout.at(nCmd) : m_nDefault;
        t = nCount > 1 ? t * (nCount / 2) : t;
        return Positive(t + (bOffset ? m_nOffset : 0));
    }
    int ByDefault(int nCmd, int nDefault) const {
        const long t = m_mapTimeout.count(nCmd) != 0 ? m_mapTimeout.at(nCmd) : nDefault;
        return Positive(t + m_nOffset);
    }
    int Default(int nDefault) const { return m_nDefault >= 1 ? m_nDefault : nDefault; }
    int Dual(int nCmd) const { return m_mapDual.count(nCmd) != 0 ? m_mapDual.at(nCmd) : 604800; }

private:
    static int Cut(long n) { return static_cast<int>(std::clamp<long>(n, INT_MIN, INT_MAX)); }
    static int Positive(long n) { return n > 0 ? Cut(n) : 60; }
    static int Attribute(const std::vector<std::string>& vecLine, const std::string& strKey,
                         int nDefault) {
        for (const std::string& strLine : vecLine)
            if (strLine.find(strKey) != std::string::npos)
                return strLine.find('=') == std::string::npos
                           ? 0
                           : Cut(std::strtol(strLine.c_str() + strLine.find('=') + 1, nullptr, 10));
        return nDefault;
    }
    static void Commands(const std::vector<std::string>& vecLine, std::map<int, int>& mapSeconds) {
        for (const std::string& strLine : vecLine) {
            char* pEnd = nullptr;
            const long nCmd = std::strtol(strLine.c_str(), &pEnd, 10);
            if (pEnd != strLine.c_str() && strLine.find('=') != std::string::npos)
                mapSeconds[Cut(nCmd)] =
                    Cut(std::strtol(strLine.c_str() + strLine.find('=') + 1, nullptr, 10));
        }
    }

    const File& m_file;
    int m_nDefault = 60;
    int m_nOffset = 0;
    bool m_bRefresh = false;
    bool m_bSuccess = false;
    long m_tLoaded = 0;
    long m_tChecked = 0;
    std::map<int, int> m_mapTimeout;
    std::map<int, int> m_mapDual;
};

inline std::string TimeoutText(ByteSource& source) {
    static const char* const LINES[] = {"[cmdreq_common_config]", "[cmdreq_command_timeout]",
                                        "[ cmdreq_timedual_do ]", "need_auto_refresh = 1",
                                        "need_auto_refresh = 0",  "default_timeout = 7"};
    std::string strText;
    for (int nLines = source.Below(14); nLines > 0; --nLines) {
        const int nKind = source.Below(16);
        if (nKind < 6)
            strText += LINES[nKind];
        else if (nKind < 10)
            strText += std::to_string(source.Below(4)) + source.TextOf(" =", 3) +
                       std::to_string(source.Below(200) - 50);
        else if (nKind == 10)
            strText += "offset_time=" + source.TextOf("-19", 3);
        else if (nKind == 11)
            strText += "x default_timeout_ext =" + source.TextOf(" 123=", 3);
        else
            strText += source.TextOf("1234567890=[]# -", 14);
        strText += source.Below(5) == 0 ? "\r\n" : "\n";
    }
    return strText;
}

inline void CheckTimeoutFile(const std::uint8_t* pData, std::size_t nSize) {
    ByteSource source(pData, nSize);
    static const long STEPS[] = {-301, -300, 1, 300, 301, 302};
    TimeoutModel::File file;
    const auto Write = [&] {
        file.bThere = source.Below(6) != 0;
        std::remove(ScratchFile().c_str());
        if (!file.bThere)
            return;
        file.strText = TimeoutText(source);
        std::ofstream(ScratchFile(), std::ios::binary) << file.strText;
        if (source.Below(4) != 0)
            ++file.tModify;
        const timespec arrTime[] = {{file.tModify, 0}, {file.tModify, 0}};
        utimensat(AT_FDCWD, ScratchFile().c_str(), arrTime, 0);
    };
    zemb::ScopedClock clock;
    long tNow = 1772352000;
    clock.Freeze(tNow * 1000000);
    NSTE_util::TNReqTimeoutIF::Destroy();
    NSTE_util::TNReqTimeoutIF& service = *NSTE_util::TNReqTimeoutIF::Instance();
    TimeoutModel model(file);
    file.tModify = tNow;
    Write();
    while (!source.IsEmpty()) {
        const int nCmd = source.Below(5);
        const int nCount = source.Below(7);
        switch (source.Below(7)) {
            case 0: Write(); break;
            case 1:
                Expect(service.LoadTimeoutCfgFile(ScratchFile()) == model.Load(), "load");
                break;
            case 2:
                tNow += STEPS[source.Below(6)];
                clock.Freeze(tNow * 1000000);
                break;
            case 3:
                model.BeforeQuery(tNow);
                Expect(service.GetReqTimeOutValue(nCmd, nCount, nCount % 2 == 0) ==
                           model.Timeout(nCmd, nCount, nCount % 2 == 0),
                       "time-out with " + file.strText);
                break;
            case 4:
                model.BeforeQuery(tNow);
                Expect(
                    service.GetReqTimeoutByDefault(nCmd, nCount) == model.ByDefault(nCmd, nCount),
                    "by default with " + file.strText);
                break;
            case 5:
                model.BeforeQuery(tNow);
                Expect(service.GetReqDefaultTimeout(nCount) == model.Default(nCount),
                       "default with " + file.strText);
                break;
            default:
                model.BeforeQuery(tNow);
                Expect(service.GetReqTimeDualValue(nCmd) == model.Dual(nCmd),
                       "dual with " + file.strText);
        }
    }
    NSTE_util::TNReqTimeoutIF::Destroy();
}

}  // namespace naive

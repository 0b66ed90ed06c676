#pragma once

#include "tests/naive/byte_source.h"

#include "tovelkarin/tnbackupobjstr.h"
#include "zemb/control.h"

#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

// Backup texts by plain copies of strings, step by step.
namespace naive {

constexpr std::size_t NPOS = std::string::npos;

class BackupModel {
public:
    BackupModel(const std::string& strObj, const std::string& strName)
        : m_strObj(strObj), m_strName(strName) {}

    std::vector<std::string> vecLine;
    const std::string& Text() const { return m_strObj; }

    std::string Attributes() const {
        const std::size_t a = m_strObj.find("<attribute>");
        const std::size_t b = m_strObj.find("</attribute>");
        const std::size_t o = m_strObj.find("<object>");
        if (a == NPOS || b == NPOS || b > o || b < a)
            return "";
        return m_strObj.substr(a + 11, b - a - 11);
    }

    std::size_t StringEnd(const std::string& strText) {
        for (std::size_t nFrom = 0;;) {
            const std::size_t p = strText.find("\",", nFrom);
            if (p == NPOS || p == 0) {
                // A log line ends at a zero byte.
                vecLine.emplace_back(("FindStringEnd failed,the string is " + strText).c_str());
                return NPOS;
            }
            std::size_t nBackslashes = 0;
            for (std::size_t i = p - 1; i >= 1 && strText[i] == '\\'; --i)
                ++nBackslashes;
            if (nBackslashes % 2 == 0)
                return p;
            nFrom = p + 1;
        }
    }

    static std::size_t ItemAt(const std::string& strList, const std::string& strName,
                              bool bQuoted) {
        const std::string strKey = strName + "=";
        std::size_t p = strList.find(strKey);
        if (p == 0)
            return 0;
        for (; p != NPOS; p = strList.find(strKey, p + strName.size() + 1)) {
            const bool bQuote =
                p + strKey.size() < strList.size() && strList[p + strKey.size()] == '"';
            if (strList[p - 1] == ',' && (!bQuoted || bQuote))
                return p;
        }
        return NPOS;
    }

    bool Value(const std::string& strName, std::string& strValue, bool bQuoted) {
        const std::string strList = Attributes();
        const std::size_t p = ItemAt(strList, strName, bQuoted);
        if (p == NPOS)
            return Fail("not finding attribute Name");
        const std::string strRest = strList.substr(p + strName.size() + 1);
        if (!strRest.empty() && strRest[0] == '"') {
            const std::size_t e = StringEnd(strRest);
            if (e == NPOS)
                return Fail("not finding string attribute end \",");
            strValue = strRest.substr(1, e - 1);
            return true;
        }
        const std::size_t c = strRest.find(',');
        if (c == NPOS)
            return Fail("not finding string attribute first \"");
        strValue = strRest.substr(0, c);
        return true;
    }

    bool Insert(const std::string& strName, const std::string& strValue) {
        const std::size_t p = m_strObj.find("</attribute>");
        if (p == NPOS)
            return Fail("not finding attribute ");
        m_strObj = m_strObj.substr(0, p) + strName + "=" + strValue + "," + m_strObj.substr(p);
        return true;
    }

    bool AddGroup(const std::vector<std::string>& vecChild, const std::string& strGroup) {
        const std::size_t p = m_strObj.size() - m_strName.size() - 9 - 3;
        std::string strHead = m_strObj.substr(0, p);
        const std::string strTail = m_strObj.substr(p);  // may throw
        std::string strJoined;
        for (const std::string& strChild : vecChild)
            strJoined += strChild;
        if (strGroup.empty())
            vecLine.push_back("valiableName string is invalide");
        else
            strJoined = "<" + strGroup + ">" + strJoined + "</" + strGroup + ">";
        m_strObj = strHead + strJoined + strTail;
        return true;
    }

    bool Number(const std::string& strName, int& nValue) {
        std::string strText;
        if (!Value(strName, strText, false) || strText.empty())
            return Fail("not finding attribute ");
        nValue = static_cast<int>(std::strtol(strText.c_str(), nullptr, 10));
        return true;
    }

    // The elements of a list, absent when there is no such value.
    std::optional<std::vector<std::string>> List(const std::string& strName, bool bQuoted,
                                                 bool bLineWhenEmpty) {
        std::string strText;
        if (!Value(strName, strText, bQuoted)) {
            Fail("not finding attribute ");
            return std::nullopt;
        }
        if (!strText.empty())
            return Pieces(strText, '&');
        if (bLineWhenEmpty)
            Fail("not finding attribute ");
        return std::nullopt;
    }

    bool Children(const std::string& strGroup, const std::string& strChild,
                  std::vector<std::string>& vecText) {
        const std::size_t b = m_strObj.find("<" + strGroup + ">");
        const std::size_t e = m_strObj.find("</" + strGroup + ">");
        if (b == NPOS || e == NPOS)
            return Fail("not finding valiableName ");
        std::string strRest = m_strObj.substr(b, e - b + strGroup.size() + 3);
        const std::string strEnd = "</" + strChild + ">";
        for (bool bFirst = true;; bFirst = false) {
            const std::size_t ob = strRest.find("<" + strChild + ">");
            const std::size_t oe = strRest.find(strEnd);
            if (ob == NPOS || oe == NPOS)
                return bFirst ? Fail("not finding objectName ") : true;
            const std::size_t nBehind = oe + strEnd.size();
            vecText.push_back(ob < nBehind ? strRest.substr(ob, nBehind - ob) : "");
            strRest = strRest.substr(nBehind);
        }
    }

private:
    bool Fail(const std::string& strLine) {
        vecLine.push_back(strLine);
        return false;
    }

    std::string m_strObj;
    std::string m_strName;
};

// Reads everything under one name with the library and the model.
inline void CheckBackupReaders(const NSTN_util::TNBackupObjStr& object, BackupModel& model,
                               const std::string& strName) {
    const std::string strWhere = strName + " of " + model.Text();
    for (const bool bQuoted : {false, true}) {
        const std::string strList = model.Attributes();
        Expect(object.GetAttrObjValueBgnPos(strList, strName, bQuoted) ==
                   BackupModel::ItemAt(strList, strName, bQuoted),
               "place of " + strWhere);
        std::string strValue = "before";
        std::string strExpected = "before";
        Expect(object.GetValueStrByName(strName, strValue, bQuoted) ==
                       model.Value(strName, strExpected, bQuoted) &&
                   strValue == strExpected,
               "value " + strWhere);
    }
    if (strName.empty())
        return;
    int nExpected = 77;
    const bool bNumber = model.Number(strName, nExpected);
    int nValue = 77;
    Expect(object.GetAttributePara(strName.c_str(), nValue) == bNumber && nValue == nExpected,
           "number " + strWhere);
    unsigned short nShort = 77;
    int nIgnored = 0;
    if (!model.Number(strName, nIgnored))
        model.vecLine.push_back("not finding attribute ");
    Expect(object.GetAttributePara(strName.c_str(), nShort) == bNumber &&
               nShort == static_cast<unsigned short>(nExpected),
           "short " + strWhere);
    // The readers of the other types are this one's.
    const auto AsNumber = [&](auto value) {
        using Value = decltype(value);
        if (!model.Number(strName, nIgnored))
            model.vecLine.push_back("not finding attribute ");
        Expect(object.GetAttributePara(strName.c_str(), value) == bNumber &&
                   value == (bNumber ? static_cast<Value>(nExpected) : Value{}),
               "converted " + strWhere);
    };
    AsNumber(0UL);
    AsNumber(0U);
    AsNumber('\0');
    AsNumber(static_cast<unsigned char>(0));
    AsNumber(false);
    std::string strText;
    std::string strModel;
    const bool bText = model.Value(strName, strModel, true);
    if (!bText)
        model.vecLine.push_back("not finding attribute ");
    Expect(object.GetAttributePara(strName.c_str(), strText) == bText && strText == strModel,
           "text " + strWhere);
    // What is found goes behind what is there.
    std::vector<char> vecChar = {'k'};
    const auto chars = model.List(strName, false, false);
    std::vector<char> vecModelChar = vecChar;
    for (const std::string& strChar : chars.value_or(std::vector<std::string>()))
        vecModelChar.push_back(static_cast<char>(std::strtol(strChar.c_str(), nullptr, 10)));
    Expect(object.GetAttributePara(strName.c_str(), vecChar) == chars.has_value() &&
               vecChar == vecModelChar,
           "chars " + strWhere);
    std::vector<std::string> vecText = {"kept"};
    const auto texts = model.List(strName, true, false);
    std::vector<std::string> vecModelText = texts.value_or(std::vector<std::string>());
    vecModelText.insert(vecModelText.begin(), "kept");
    Expect(object.GetAttributePara(strName.c_str(), vecText) == texts.has_value() &&
               vecText == vecModelText,
           "texts " + strWhere);
    std::vector<int> vecNumber = {7};
    const auto numbers = model.List(strName, false, true);
    std::vector<int> vecExpected = vecNumber;
    for (const std::string& strNumber : numbers.value_or(std::vector<std::string>()))
        vecExpected.push_back(static_cast<int>(std::strtol(strNumber.c_str(), nullptr, 10)));
    Expect(object.GetAttributePara(strName.c_str(), vecNumber) == numbers.has_value() &&
               vecNumber == vecExpected,
           "numbers " + strWhere);
}

inline std::string BackupPieces(ByteSource& source, int nMost) {
    static const char* const PIECES[] = {"<attribute>", "</attribute>",
                                         "<object>",    "</object>",
                                         "<N>",         "</N>",
                                         "<C>",         "</C>",
                                         "<G>",         "</G>",
                                         "a=",          "b=",
                                         ",a=",         ",",
                                         "\"",          "\",",
                                         "\\",          "&",
                                         "7",           "-12",
                                         "x",           "<",
                                         ">",           "99999999999",
                                         " 5 "};
    std::string strText;
    for (int n = source.Below(nMost); n > 0; --n)
        strText += PIECES[source.Below(static_cast<int>(std::size(PIECES)))];
    return strText;
}

// Any text, or one that is nearly right, through all operations.
inline void CheckAnyBackup(ByteSource& source, const std::vector<std::string>& vecLine) {
    const std::string strName = source.Below(4) == 0 ? source.TextOf("N<>/", 9) : "N";
    const std::string strObj = source.Below(2) == 0
                                   ? BackupPieces(source, 40)
                                   : "<N><attribute>" + BackupPieces(source, 20) +
                                         "</attribute><object><G>" + BackupPieces(source, 20) +
                                         "</G></object></N>";
    NSTN_util::TNBackupObjStr object(strObj, strName);
    BackupModel model(strObj, strName);
    for (int n = source.Below(4); n > 0; --n) {
        const std::string strKey = source.TextOf("ab", 2);
        const std::string strValue = BackupPieces(source, 4);
        Expect(object.InsertAttributeString(strKey, strValue) == model.Insert(strKey, strValue),
               "insertion into " + strObj);
    }
    for (int n = source.Below(3); n > 0; --n) {
        const std::vector<std::string> vecChild(static_cast<std::size_t>(source.Below(3)),
                                                BackupPieces(source, 6));
        const std::string strGroup = source.TextOf("GC", 1);
        const auto Thrown = [&](auto add) {
            try {
                return !add();
            } catch (const std::out_of_range&) {
                return true;
            }
        };
        Expect(Thrown([&] { return object.AddObejctPara(vecChild, strGroup); }) ==
                   Thrown([&] { return model.AddGroup(vecChild, strGroup); }),
               "group in " + strObj);
    }
    Expect(object.GetObjStr() == model.Text(), "text of " + strObj);
    Expect(object.GetAttributeStr() == model.Attributes(), "attributes of " + model.Text());
    for (const char* const szName : {"a", "b", "", "a=", "a=,a"})
        CheckBackupReaders(object, model, szName);
    for (const char* const szGroup : {"G", "object", ""})
        for (const char* const szChild : {"C", "N", "G"}) {
            std::vector<std::string> vecText;
            std::vector<std::string> vecExpected;
            Expect(object.GetObjStrByObjName(szGroup, szChild, vecText) ==
                           model.Children(szGroup, szChild, vecExpected) &&
                       vecText == vecExpected,
                   "children of " + model.Text());
        }
    const std::string strQuoted = "\"" + BackupPieces(source, 12);
    Expect(object.FindStringEnd(strQuoted) == model.StringEnd(strQuoted), "end of " + strQuoted);
    Expect(vecLine == model.vecLine, "lines about " + model.Text());
}

// What is written clean is read back.
inline void CheckCleanBackup(ByteSource& source, const std::vector<std::string>& vecLine) {
    NSTN_util::TNBackupObjStr object("PORT");
    std::vector<int> vecNumber;
    std::vector<char> vecChar;
    std::vector<std::string> vecText;
    for (int n = 1 + source.Below(5); n > 0; --n) {
        vecNumber.push_back(
            static_cast<int>(source.Byte() << 24 | source.Byte() << 16 | source.Byte()));
        vecChar.push_back(static_cast<char>(source.Byte()));
        vecText.push_back(source.TextOf("abc ,=\"", 6) + "z");
    }
    for (std::string& strText : vecText)  // a quote before a comma would end the value
        for (std::size_t n; (n = strText.find("\",")) != NPOS;)
            strText.erase(n, 1);
    if (vecText.front().front() == ',')
        vecText.front().insert(0, 1, 'z');
    for (std::string& strText : vecText)
        for (char& c : strText)
            c = c == '\\' || c == '&' ? '_' : c;
    object.AddAttributePara("number", vecNumber.front(), source.Below(2) == 0);
    object.AddAttributePara("numbers", vecNumber, source.Below(2) == 0);
    object.AddAttributePara("chars", vecChar, source.Below(2) == 0);
    object.AddAttributePara("texts", vecText, true);
    object.AddAttributePara("last", vecText.front(), true);
    const std::string strChild = object.GetObjStr();
    NSTN_util::TNBackupObjStr parent("SHELF");
    parent.AddObejctPara({strChild, strChild}, "PORTS");
    std::vector<std::string> vecChild;
    Expect(parent.GetObjStrByObjName("PORTS", "PORT", vecChild) &&
               vecChild == std::vector<std::string>{strChild, strChild},
           "children of " + parent.GetObjStr());
    const NSTN_util::TNBackupObjStr back(vecChild.back(), "PORT");
    int nNumber = 0;
    std::vector<int> vecNumberBack;
    std::vector<char> vecCharBack;
    std::vector<std::string> vecTextBack;
    std::string strLast;
    Expect(back.GetAttributePara("number", nNumber) && nNumber == vecNumber.front(), "number");
    Expect(back.GetAttributePara("numbers", vecNumberBack) && vecNumberBack == vecNumber,
           "numbers in " + strChild);
    Expect(back.GetAttributePara("chars", vecCharBack) && vecCharBack == vecChar, "chars");
    // A text may hold what looks like a later item; then the item is read from there.
    if (strChild.find(",last=") == strChild.rfind(",last="))
        Expect(back.GetAttributePara("last", strLast) && strLast == vecText.front(),
               "last in " + strChild);
    Expect(back.GetAttributePara("texts", vecTextBack) && vecTextBack == vecText,
           "texts in " + strChild);
    Expect(vecLine.empty(), "no line about " + strChild);
}

inline void CheckBackup(const std::uint8_t* pData, std::size_t nSize) {
    ByteSource source(pData, nSize);
    std::vector<std::string> vecLine;
    const zemb::ScopedDebugSink sink(
        [&](const zemb::DebugLine& line) { vecLine.push_back(line.strText); });
    if (source.Below(4) == 0)
        return CheckCleanBackup(source, vecLine);
    CheckAnyBackup(source, vecLine);
}

}  // namespace naive

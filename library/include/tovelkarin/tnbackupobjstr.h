#pragma once

#include "tovelkarin/export.h"

#include <cstddef>
#include <string>
#include <vector>

namespace NSTN_util {

// Builds and reads the backup text of one managed object (docs/formats/backup-string.md), such as
//   <PORT><attribute>id=5,label="a,b",vlans=10&20,</attribute><object><SUBS>...</SUBS></object>
//   </PORT>
// without the line break: attributes, then groups of child objects, each a text like this one.
// Nothing is escaped; what will not be read back, "check backup" of the program tells.
//
// One instance is for one thread at a time; it keeps no index: the text is searched where it lies.
// Results bool: true on success. Every failure writes the lines named with the operation.
class TN_API TNBackupObjStr {
public:
    TNBackupObjStr() = default;
    // Takes over a text and the name of its object, unchecked.
    TNBackupObjStr(const std::string& objStr, const std::string& objName);
    // Starts an object without attributes and groups.
    TNBackupObjStr(const std::string& objName);

    // A copy of the whole text.
    std::string GetObjStr() const;

    // The attributes of the object itself: "id=5,label=..."; "" for a text without them, when
    // "</attribute>" stands before "<attribute>", and when "<object>" stands before either. Cost:
    // linear in the attributes.
    std::string GetAttributeStr() const;

    // The place of the quote that closes the value which text begins with: the first quote with a
    // "," behind it and an even number of backslashes before it. npos without one, and for a "," at
    // once behind the first quote of text (line: "FindStringEnd failed,the string is %s").
    std::size_t FindStringEnd(const std::string& text) const;

    // The place of "name=" in attrs, at its start or behind a ","; when quoted, only where a quote
    // follows, or at the start. npos without one. A quoted value is not known as such: a "," and
    // the name inside of it are found, too. Cost: linear in the text before.
    std::size_t GetAttrObjValueBgnPos(const std::string& attrs, const std::string& name,
                                      bool quoted) const;

    // The text of an attribute's value, without its quotes; backslashes stay. Untouched on failure
    // (line: "not finding attribute Name", or "not finding string attribute first \"", or, behind
    // that of FindStringEnd, "not finding string attribute end \","). Cost: linear in the
    // attributes, without a copy of them.
    bool GetValueStrByName(const std::string& name, std::string& value, bool quoted) const;

    // Appends name=value, to the attributes; a name may be there already, readers find the first.
    // False, and nothing is written, without "</attribute>" (line: "not finding attribute ").
    // Cost: a search for "</attribute>" at the speed of memory, and the move of what is behind.
    bool InsertAttributeString(const std::string& name, const std::string& value);

    // Append an attribute, as InsertAttributeString does; false for a name that is null or empty.
    // When quoted, one quote stands before and one behind the whole value. Unsigned numbers are
    // cut to int first (4294967295 is written -1) and never quoted. Elements of lists are joined
    // by "&", each char as a signed number (0xFF is -1); an empty list is the empty text.
    bool AddAttributePara(const char* name, int value, bool quoted);
    bool AddAttributePara(const char* name, unsigned long value, bool quoted);
    bool AddAttributePara(const char* name, unsigned int value, bool quoted);
    bool AddAttributePara(const char* name, const std::string& value, bool quoted);
    bool AddAttributePara(const char* name, const std::vector<int>& value, bool quoted);
    bool AddAttributePara(const char* name, const std::vector<char>& value, bool quoted);
    bool AddAttributePara(const char* name, const std::vector<std::string>& value, bool quoted);

    // Appends a group of child texts. With an empty varName the children stand without a group
    // (line: "valiableName string is invalide"), which is a success, too.
    // Throws std::out_of_range, with nothing written, when the text is shorter than the ends
    // "</object></name>" that it should have.
    // Cost: linear in the children.
    bool AddObejctPara(const std::vector<std::string>& objs, const std::string& varName);

    // Read an attribute. False, with the value untouched, for a name that is null or empty (no
    // line), and when the attribute is absent or unreadable (lines: that of GetValueStrByName and
    // "not finding attribute "; the second once more for the six types behind int).
    // Numbers are read as by strtol, cut to int and then to the type: text that is no number is 0;
    // an empty value is a failure (lines as for an absent attribute, but for the first).
    bool GetAttributePara(const char* name, int& value) const;
    bool GetAttributePara(const char* name, unsigned long& value) const;
    bool GetAttributePara(const char* name, unsigned int& value) const;
    bool GetAttributePara(const char* name, char& value) const;
    bool GetAttributePara(const char* name, unsigned char& value) const;
    bool GetAttributePara(const char* name, bool& value) const;
    bool GetAttributePara(const char* name, unsigned short& value) const;
    // Texts and lists of texts are found quoted only, or first in the list. An empty text is a
    // success, for lists a failure (line only for vector<int>). Lists are appended to.
    bool GetAttributePara(const char* name, std::string& value) const;
    bool GetAttributePara(const char* name, std::vector<char>& value) const;
    bool GetAttributePara(const char* name, std::vector<std::string>& value) const;
    bool GetAttributePara(const char* name, std::vector<int>& value) const;

    // Appends the texts of the children named objName in the first group varName. False without
    // the group (line: "not finding valiableName ") or the children (line: "not finding
    // objectName ").
    // Tags are matched by name alone: a child that holds an object of its own name ends with that
    // one; the end tag that is left over gives an empty text when another child follows. Cost:
    // linear in the text up to the end of the group.
    bool GetObjStrByObjName(const std::string& varName, const std::string& objName,
                            std::vector<std::string>& objs) const;

private:
    std::string m_objStr;
    std::string m_objName;
};

}  // namespace NSTN_util

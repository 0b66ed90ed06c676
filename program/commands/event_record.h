#pragma once

#include "zemb/black_box.h"

#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace Json {
class CharReader;
class Value;
}  // namespace Json

namespace host {

enum class ERecordLine { BEGIN, HELD, GAP, EVENT };

// What a line of a record says.
struct RecordLine {
    ERecordLine eKind = ERecordLine::EVENT;
    int nLine = 0;
    std::uint64_t nNumber = 0;  // of the next event; a gap: how many are missing
    // A held object: when and by whom; what it was held for is in the event.
    std::string strBy;
    // An operation that was granted, refused or released. Trails and tasks have bOperation false.
    bool bOperation = false;
    zemb::BoxEvent event;
};

// A record of what a process does: what it held at the beginning, then what happened, a JSON object
// a line. 'mutex replay' reads it. Throws CommandError when a line cannot be written.
class EventRecordWriter {
public:
    EventRecordWriter(const std::string& strFile, const zemb::BlackBox& box);
    void Put(const Json::Value& record);
    void PutGap(std::uint64_t nEvents);

private:
    void PutHeld(const zemb::BoxHeld& held);

    const std::string m_strFile;
    std::ofstream m_file;
};

// Reads what 'events --record' wrote, a line after the other.
class EventRecordReader {
public:
    // Throws CommandError for a file that cannot be read.
    explicit EventRecordReader(const std::string& strFile);
    ~EventRecordReader();

    // False behind the last line. Throws CommandError, with file and line, for what is no record.
    bool Next(RecordLine& line);

private:
    bool NextText();
    void Fill(const Json::Value& json, RecordLine& line) const;

    const std::string m_strFile;
    std::ifstream m_file;
    std::vector<char> m_vecText;
    const std::unique_ptr<Json::CharReader> m_pParser;
    int m_nLine = 0;
};

}  // namespace host

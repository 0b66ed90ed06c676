#include "commands/event_record.h"

#include "commands/processes.h"
#include "view/output.h"

#include <json/reader.h>

#include <charconv>
#include <cstdio>
#include <ctime>
#include <optional>

// Writes and reads records of events line by line, so that one of any length takes the room of one
// line. What a line lacks, or has of another kind, makes it no line of a record.
namespace host {

namespace {

constexpr std::size_t LINE_MAX_OCTETS = 65536;

Json::CharReader* NewParser() {
    Json::CharReaderBuilder builder;
    builder["collectComments"] = false;
    builder["failIfExtra"] = true;
    return builder.newCharReader();
}

template <class Value>
Value Get(const Json::Value& json, const char* szKey) {
    const Json::Value& value = json[szKey];
    if (!value.is<Value>())
        throw Json::RuntimeError(std::string("'") + szKey + "' is missing or of another kind");
    return value.as<Value>();
}

// A time as zemb::FormatTime writes it.
long long GetTime(const Json::Value& json, const char* szKey) {
    std::tm parts{};
    int nMilliseconds = 0;
    const std::string strTime = Get<std::string>(json, szKey);
    const char* const pRest = strptime(strTime.c_str(), "%Y-%m-%d %H:%M:%S", &parts);
    if (pRest == nullptr || *pRest != '.' ||
        std::from_chars(pRest + 1, strTime.data() + strTime.size(), nMilliseconds).ec !=
            std::errc())
        throw Json::RuntimeError(std::string("'") + szKey + "' is no time");
    return timegm(&parts) * SECOND + nMilliseconds * 1000LL;
}

zemb::LiveObject GetObject(const Json::Value& levels) {
    if (!levels.isArray() || levels.size() != 3 || !levels[0].isInt() || !levels[1].isInt() ||
        !levels[2].isInt64())
        throw Json::RuntimeError("'object' is not three whole numbers");
    return {levels[0].asInt(), levels[1].asInt(), levels[2].asInt64()};
}

zemb::ELiveMaker GetMaker(const Json::Value& json) {
    const std::string strMaker = Get<std::string>(json, "by");
    for (std::uint8_t n = 0; n < static_cast<std::uint8_t>(zemb::ELiveMaker::TRAIL_GUARD); ++n)
        if (strMaker == zemb::LiveMakerName(static_cast<zemb::ELiveMaker>(n)))
            return static_cast<zemb::ELiveMaker>(n);
    throw Json::RuntimeError("'by' names nothing that makes requests");
}

std::optional<zemb::EBoxEvent> OperationEvent(const std::string& strName) {
    for (const zemb::EBoxEvent eKind :
         {zemb::EBoxEvent::GRANTED, zemb::EBoxEvent::REFUSED, zemb::EBoxEvent::GIVEN_BACK})
        if (strName == EventName(eKind))
            return eKind;
    return std::nullopt;
}

void FillHeld(const Json::Value& json, RecordLine& line) {
    line.event.nOper = Get<Json::Int>(json, "operation");
    line.event.nTime = GetTime(json, "since");
    line.event.nPlace = json.isMember("object") ? 1 : 0;
    if (line.event.nPlace != 0)
        line.event.obj = GetObject(json["object"]);
    line.strBy = Get<std::string>(json, "by");
}

void FillEvent(const Json::Value& json, RecordLine& line) {
    line.nNumber = Get<Json::UInt64>(json, "number");
    zemb::BoxEvent& event = line.event;
    event.nTime = GetTime(json, "time");
    const std::optional<zemb::EBoxEvent> eKind = OperationEvent(Get<std::string>(json, "event"));
    line.bOperation = eKind.has_value() && !json.isMember("trail");
    if (!line.bOperation)
        return;
    event.eKind = *eKind;
    event.eMaker = GetMaker(json);
    event.nThread = Get<Json::UInt>(json, "thread");
    event.nTask = json.isMember("task") ? Get<Json::UInt>(json, "task") : 0;
    event.nCall = Get<Json::UInt64>(json, "call");
    event.nOper = Get<Json::Int>(json, "operation");
    event.nPlace = Get<Json::UInt>(json, "place");
    event.nOf = Get<Json::UInt>(json, "of");
    if (event.nPlace != 0)
        event.obj = GetObject(json["object"]);
    if (event.eKind == zemb::EBoxEvent::REFUSED) {
        event.nBlocker = Get<Json::Int>(json, "blocker");
        event.nCode = Get<Json::UInt64>(json, "code");
    }
}

}  // namespace

EventRecordWriter::EventRecordWriter(const std::string& strFile, const zemb::BlackBox& box)
    : m_strFile(strFile), m_file(strFile, std::ios::app) {
    Json::Value record;
    record["record"] = "begin";
    record["process"] = box.nProcess;
    record["program"] = box.strProgram;
    record["next"] = static_cast<Json::UInt64>(box.nEventBefore);
    Put(record);
    for (const zemb::BoxHeld& held : zemb::HeldBefore(box))
        PutHeld(held);
}

void EventRecordWriter::Put(const Json::Value& record) {
    m_file << JsonLine(record) << '\n' << std::flush;
    if (!m_file)
        throw CommandError(SYSTEM_FAILED, m_strFile + ": cannot be written");
}

void EventRecordWriter::PutGap(std::uint64_t nEvents) {
    Json::Value record;
    record["record"] = "gap";
    record["events"] = static_cast<Json::UInt64>(nEvents);
    Put(record);
}

void EventRecordWriter::PutHeld(const zemb::BoxHeld& held) {
    Json::Value record;
    record["record"] = "held";
    record["operation"] = held.nOper;
    record["since"] = zemb::FormatTime(held.nSince);
    record["by"] = HolderText(held);
    if (!held.bNoObject)
        record["object"] = LevelsOf(held.obj);
    Put(record);
}

EventRecordReader::EventRecordReader(const std::string& strFile)
    : m_strFile(strFile),
      m_file(strFile == "-" ? "/dev/stdin" : strFile),
      m_vecText(LINE_MAX_OCTETS),
      m_pParser(NewParser()) {
    if (!m_file)
        FailWithErrno(strFile);
}

EventRecordReader::~EventRecordReader() = default;

// False at the end of the file.
bool EventRecordReader::NextText() {
    if (m_file.getline(m_vecText.data(), static_cast<std::streamsize>(m_vecText.size())))
        return true;
    if (m_file.bad())
        FailWithErrno(m_strFile);
    if (m_file.gcount() == 0)
        return false;
    throw Json::RuntimeError("the line is too long");
}

bool EventRecordReader::Next(RecordLine& line) {
    line = RecordLine();
    line.nLine = ++m_nLine;
    try {
        Json::Value json;
        if (NextText()) {
            const char* const pText = m_vecText.data();
            if (!m_pParser->parse(pText, pText + std::char_traits<char>::length(pText), &json,
                                  nullptr) ||
                !json.isObject())
                throw Json::RuntimeError("no JSON object, or one that was cut");
            Fill(json, line);
            return true;
        }
        if (m_nLine == 1)
            throw Json::RuntimeError("it is empty");
        return false;
    } catch (const Json::Exception& error) {
        throw CommandError(WRONG_USAGE, m_strFile + ":" + std::to_string(m_nLine) +
                                            ": no record of 'events --record': " + error.what());
    }
}

void EventRecordReader::Fill(const Json::Value& json, RecordLine& line) const {
    const std::string strRecord = json.isMember("record") ? Get<std::string>(json, "record") : "";
    if (m_nLine == 1 && strRecord != "begin")
        throw Json::RuntimeError("it does not say where it begins");
    if (strRecord == "begin") {
        line.eKind = ERecordLine::BEGIN;
        line.nNumber = Get<Json::UInt64>(json, "next");
    } else if (strRecord == "held") {
        line.eKind = ERecordLine::HELD;
        FillHeld(json, line);
    } else if (strRecord == "gap") {
        line.eKind = ERecordLine::GAP;
        line.nNumber = Get<Json::UInt64>(json, "events");
    } else if (strRecord.empty()) {
        FillEvent(json, line);
    } else {
        throw Json::RuntimeError("'record' says nothing that is known");
    }
}

}  // namespace host

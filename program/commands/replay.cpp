#include "commands/replay.h"

#include "commands/event_record.h"
#include "commands/processes.h"
#include "commands/refusal_text.h"

#include <algorithm>

// What happened is followed event by event in a book of its own: held is what was really held,
// whatever the new table says, so that each request is judged as it would have found things. A book
// asks the table the same questions as the manager does, and its cost does not depend on what is
// held, so the whole is linear in the events.
//
// Behind a gap nobody knows what is still held. The book begins anew there: a request that is then
// refused by the new table would be refused for certain, one that was refused by something unknown
// is counted as undecided.
namespace host {

namespace {

using NSTE_util::TEOperObject;

// The objects that were asked for in one call of a thread, as far as they were seen.
struct Request {
    zemb::BoxEvent event;  // the last one
    std::list<TEOperObject> listObj;
    int nLine = 0;  // of the first
    bool bWhole = false;
};

class Replay {
public:
    Replay(const Output& out, const std::vector<std::string>& vecTable);
    void Play(const std::string& strFile);
    int End() const;

private:
    void Take(const RecordLine& line);
    void TakeEvent(const RecordLine& line);
    void TakeRequest(const RecordLine& line);
    void Lose(std::uint64_t nEvents);
    void EndRequest();
    void Judge();
    void JudgeGranted();
    void JudgeRefused();
    void PutChange(const char* szChange, const std::string& strWhy, Json::Value record) const;

    const Output& m_out;
    Ledger m_ledger;
    std::string m_strFile;
    std::uint64_t m_nNext = 0;
    Request m_request;

    std::uint64_t m_nRequests = 0;
    std::uint64_t m_nRefused = 0;
    std::uint64_t m_nGranted = 0;
    std::uint64_t m_nUndecided = 0;
    std::uint64_t m_nGaps = 0;
    std::uint64_t m_nLost = 0;
};

Replay::Replay(const Output& out, const std::vector<std::string>& vecTable) : m_out(out) {
    for (const std::string& strTable : vecTable)
        m_ledger.table.Read(strTable);
    for (const Finding& finding : m_ledger.table.vecFinding)
        if (finding.eSeverity == ESeverity::ERROR)
            throw CommandError(WRONG_USAGE, TextOf(finding));
}

void Replay::Play(const std::string& strFile) {
    m_strFile = strFile;
    EventRecordReader reader(strFile);
    for (RecordLine line; reader.Next(line);)
        Take(line);
    EndRequest();
}

void Replay::Take(const RecordLine& line) {
    switch (line.eKind) {
        case ERecordLine::BEGIN:
            EndRequest();
            m_ledger.ForgetAll();
            m_nNext = line.nNumber;
            break;
        case ERecordLine::HELD:
            if (line.event.nPlace != 0)
                m_ledger.AddSince(
                    line.event.nOper,
                    {{line.event.obj.nNeId, line.event.obj.nObjId, line.event.obj.lSubObjId}},
                    line.strBy, line.event.nTime);
            break;
        case ERecordLine::GAP: Lose(line.nNumber); break;
        case ERecordLine::EVENT: TakeEvent(line); break;
    }
}

// The first events behind a gap tell by their number how many are missing, too.
void Replay::Lose(std::uint64_t nEvents) {
    EndRequest();
    m_ledger.ForgetAll();
    ++m_nGaps;
    m_nLost += nEvents;
    m_nNext += nEvents;
}

void Replay::TakeEvent(const RecordLine& line) {
    if (!line.bOperation)
        return;  // it has a number among others
    if (line.nNumber < m_nNext)
        throw CommandError(WRONG_USAGE, m_strFile + ":" + std::to_string(line.nLine) + ": event " +
                                            std::to_string(line.nNumber) +
                                            " stands behind a later one");
    if (line.nNumber > m_nNext)
        Lose(line.nNumber - m_nNext);
    m_nNext = line.nNumber + 1;
    if (line.event.eKind != zemb::EBoxEvent::GIVEN_BACK)
        return TakeRequest(line);
    EndRequest();
    if (line.event.nPlace != 0)
        m_ledger.Forget(line.event.nOper,
                        {line.event.obj.nNeId, line.event.obj.nObjId, line.event.obj.lSubObjId});
}

// The operations of a process are told one request after the other, and the objects of a request
// in their order.
void Replay::TakeRequest(const RecordLine& line) {
    const zemb::BoxEvent& event = line.event;
    const zemb::BoxEvent& last = m_request.event;
    const bool bSame = event.nThread == last.nThread && event.nCall == last.nCall &&
                       event.eKind == last.eKind && event.nPlace == last.nPlace + 1;
    if (m_request.listObj.empty() || !bSame) {
        EndRequest();
        m_request.nLine = line.nLine;
        m_request.bWhole = event.nPlace <= 1;
    }
    m_request.event = event;
    if (event.nPlace != 0)
        m_request.listObj.push_back({event.obj.nNeId, event.obj.nObjId, event.obj.lSubObjId});
    if (event.nPlace < event.nOf)
        return;
    Judge();
    m_request = Request();
}

// A request whose last objects were not seen.
void Replay::EndRequest() {
    m_request.bWhole = false;
    if (!m_request.listObj.empty())
        Judge();
    m_request = Request();
}

void Replay::Judge() {
    ++m_nRequests;
    if (m_request.event.eKind == zemb::EBoxEvent::REFUSED)
        return JudgeRefused();
    JudgeGranted();
    const zemb::BoxEvent& event = m_request.event;
    zemb::BoxHeld held;
    held.nThread = event.nThread;
    held.nTask = event.nTask;
    held.eMaker = event.eMaker;
    // Without objects it is in nobody's way.
    if (!m_request.listObj.empty())
        m_ledger.AddSince(event.nOper, m_request.listObj, HolderText(held), event.nTime);
}

void Replay::JudgeGranted() {
    const std::optional<Refusal> refusal =
        m_ledger.Explain(m_request.event.nOper, m_request.listObj);
    if (!refusal) {
        m_nUndecided += m_request.bWhole ? 0 : 1;
        return;
    }
    ++m_nRefused;
    Json::Value record;
    const std::string strWhy = RefusalText(*refusal, record);
    PutChange("would be refused", strWhy, record);
}

void Replay::JudgeRefused() {
    const zemb::BoxEvent& event = m_request.event;
    if (m_ledger.Explain(event.nOper, m_request.listObj))
        return;
    const std::optional<Refusal> blocker = m_ledger.FirstHeld(event.nBlocker, m_request.listObj);
    if (!blocker || !m_request.bWhole) {
        ++m_nUndecided;
        return;
    }
    ++m_nGranted;
    Json::Value record;
    record["blocker"] = ToJson(*blocker->pGrant);
    record["code"] = static_cast<Json::UInt64>(event.nCode);
    PutChange("would be granted",
              "\n  was in the way: " + BlockerText(*blocker) + ", code " + Hex(event.nCode),
              record);
}

void Replay::PutChange(const char* szChange, const std::string& strWhy, Json::Value record) const {
    const zemb::BoxEvent& event = m_request.event;
    record["change"] = szChange;
    record["file"] = m_strFile;
    record["line"] = m_request.nLine;
    record["time"] = zemb::FormatTime(event.nTime);
    record["thread"] = event.nThread;
    if (event.nTask != 0)
        record["task"] = event.nTask;
    record["operation"] = event.nOper;
    record["objects"] = ToJson(m_request.listObj);
    m_out.Put(zemb::FormatTime(event.nTime) + "  thread " + std::to_string(event.nThread) +
                  (event.nTask == 0 ? "" : ", task " + std::to_string(event.nTask)) + "  " +
                  szChange + ": operation " + std::to_string(event.nOper) + " on " +
                  ObjectsText(m_request.listObj) + strWhy,
              record);
}

int Replay::End() const {
    Json::Value record;
    record["requests"] = static_cast<Json::UInt64>(m_nRequests);
    record["would_be_refused"] = static_cast<Json::UInt64>(m_nRefused);
    record["would_be_granted"] = static_cast<Json::UInt64>(m_nGranted);
    record["undecided"] = static_cast<Json::UInt64>(m_nUndecided);
    record["gaps"] = static_cast<Json::UInt64>(m_nGaps);
    record["events_lost"] = static_cast<Json::UInt64>(m_nLost);
    std::string strText = Counted(m_nRequests, "request") + ": " + std::to_string(m_nRefused) +
                          " would be refused that was granted, " + std::to_string(m_nGranted) +
                          " would be granted that was refused, " + Counted(m_nGaps, "gap");
    if (m_nGaps != 0)
        strText += " of " + Counted(m_nLost, "event") +
                   "; what was held behind a gap is uncertain, and more may change";
    if (m_nUndecided != 0)
        strText += "; " + Counted(m_nUndecided, "request") +
                   " undecided, as part of it or what was in its way is not in the record";
    m_out.Put(strText, record);
    return m_nRefused + m_nGranted == 0 ? DONE : ANSWER_NO;
}

}  // namespace

int ReplayRecords(const Session& session, const std::vector<std::string>& vecRecord,
                  const std::vector<std::string>& vecTable) {
    Replay replay(session.out, vecTable);
    for (const std::string& strFile : vecRecord)
        replay.Play(strFile);
    return replay.End();
}

}  // namespace host

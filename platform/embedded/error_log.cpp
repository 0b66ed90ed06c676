#include "zemb/error_log.h"

#include "base/immortal.h"
#include "embedded/black_box.h"
#include "embedded/fault_point.h"
#include "zemb/control.h"
#include "zemb/operlog.h"
#include "zemb/task.h"

#include <deque>
#include <mutex>

// What NEs replied that somebody should know of, in memory: the last 1,000 errors, each bounded in
// numbers and text, so that a flood costs no more than that.
namespace NSTE_util {

TEOperErrorLogIF::~TEOperErrorLogIF() = default;

}  // namespace NSTE_util

namespace zemb {

namespace {

constexpr std::size_t ERRORS_KEPT = 1000;
constexpr std::size_t NUMBERS_KEPT = 1000;  // of one error
constexpr std::size_t TEXT_KEPT = 10000;    // bytes

class ErrorLog final : public NSTE_util::TEOperErrorLogIF {
public:
    void AddErrInfo(const std::list<int>& listValue, const std::string& strFirst,
                    const std::string& strSecond) override {
        OperError error;
        error.listValue = listValue;
        error.strFirst = strFirst;
        error.strSecond = strSecond;
        Add(std::move(error));
    }

    void AddErrCode(unsigned long nCode) override {
        OperError error;
        error.nCode = nCode;
        Add(std::move(error));
    }

    void AddErrText(unsigned long nCode, const std::string& strText) override {
        OperError error;
        error.nCode = nCode;
        error.strFirst = strText;
        Add(std::move(error));
    }

    std::vector<OperError> All() {
        const std::lock_guard<std::mutex> guard(m_lock);
        return {m_dequeError.begin(), m_dequeError.end()};
    }

    void Clear() {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_dequeError.clear();
    }

private:
    void Add(OperError error) {
        if (IsFaulty("TEOperErrorLogIF"))
            return;
        if (error.listValue.size() > NUMBERS_KEPT)
            error.listValue.resize(NUMBERS_KEPT);
        for (std::string* const pText : {&error.strFirst, &error.strSecond})
            if (pText->size() > TEXT_KEPT)
                pText->resize(TEXT_KEPT);
        error.strTime = FormatTime(NowMicroseconds());
        if (ZembGnlTask* const pTask = ZembGetCurrentTask()) {
            error.nTaskId = pTask->GetTaskId();
            error.nUserId = pTask->GetContext() == nullptr ? 0 : pTask->GetContext()->nUserId;
        }
        const std::lock_guard<std::mutex> guard(m_lock);
        PutLiveError(error.nCode.value_or(0), error.nTaskId, error.nUserId, error.strFirst,
                     error.strSecond);
        m_dequeError.push_back(std::move(error));
        if (m_dequeError.size() > ERRORS_KEPT)
            m_dequeError.pop_front();
    }

    std::mutex m_lock;
    std::deque<OperError> m_dequeError;
};

ErrorLog& TheLog() {
    static base::Immortal<ErrorLog> log;
    return *log;
}

}  // namespace

std::vector<OperError> OperErrors() {
    return TheLog().All();
}

void ClearOperErrors() {
    TheLog().Clear();
}

}  // namespace zemb

NSTE_util::TEOperErrorLogIF* NSTE_util::TEOperErrorLogIF::Instance() {
    return &zemb::TheLog();
}

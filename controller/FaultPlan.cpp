#include "FaultPlan.h"

void FaultPlan::spoilReply(int number, const Fault &fault)
{
    m_byNumber.append({number, fault});
}

void FaultPlan::spoilRequests(const QByteArray &prefix, const Fault &fault, int times)
{
    if (times != 0)
        m_byPrefix.append({prefix, times, fault});
}

void FaultPlan::clear()
{
    m_byNumber.clear();
    m_byPrefix.clear();
}

FaultPlan::Fault FaultPlan::take(const QByteArray &request)
{
    Fault result;
    for (int i = 0; i < m_byNumber.size();) {
        if (--m_byNumber[i].remaining > 0) {
            ++i;
            continue;
        }
        if (m_byNumber[i].remaining == 0 && result.kind == Kind::None)
            result = m_byNumber[i].fault;
        m_byNumber.remove(i);
    }
    for (int i = 0; result.kind == Kind::None && i < m_byPrefix.size(); ++i) {
        ByPrefix &entry = m_byPrefix[i];
        if (!request.startsWith(entry.prefix))
            continue;
        result = entry.fault;
        if (entry.times > 0 && --entry.times == 0)
            m_byPrefix.remove(i);
        break;
    }
    return result;
}

#include "MovableRecord.h"

#include <ktshttpagent/ResultRecords.h>

#include <utility>

namespace
{

thread_local const void* t_pRecord = nullptr;

} // namespace

MovableRecord::MovableRecord(const void* pResponse) noexcept
    : m_pOuter(std::exchange(
          t_pRecord, pResponse == nullptr ? nullptr : static_cast<const SResponseHeader*>(pResponse)->pData))
{
}

MovableRecord::~MovableRecord()
{
    t_pRecord = m_pOuter;
}

bool MovableRecord::Take(const void* pRecord) noexcept
{
    const bool bMovable = pRecord != nullptr && pRecord == t_pRecord;
    if (bMovable) {
        t_pRecord = nullptr;
    }
    return bMovable;
}

#include "Desk.h"
#include "Say.h"

#include <exception>

namespace outbox
{

Desk::Figures Desk::Status() const
{
    Figures figures;
    figures.shelf = m_means.pShelf->Status();
    const Lock lock(m_mutex);
    figures.nUnprotected = m_nUnprotected;
    figures.strLastError = m_strTrouble;
    figures.bInAlarm = m_courier.IsInAlarm();
    figures.nLoaded = m_courier.Loaded();
    figures.nLoadedBytes = m_courier.LoadedBytes();
    return figures;
}

void Desk::NoteUnprotected(const char* szWhy) noexcept
{
    bool bSay = false;
    try {
        const Lock lock(m_mutex);
        ++m_nUnprotected;
        bSay = m_strTrouble != szWhy;
        m_strTrouble = szWhy;
    } catch (const std::exception&) { // no memory for the words
    }
    if (bSay) {
        Say(1, __LINE__, "reports are sent, but not stored: ", szWhy);
    }
}

void Desk::NoteProtected() noexcept
{
    bool bSay = false;
    {
        const Lock lock(m_mutex);
        bSay = !m_strTrouble.empty();
        m_strTrouble.clear();
    }
    if (bSay) {
        Say(3, __LINE__, "reports are stored again");
    }
}

void Desk::Tell(const std::string& strKey, int nType, Fate eFate, Verdict eVerdict, int nError) noexcept
{
    if (!m_means.fnObserver) {
        return;
    }
    try {
        const EKtsReportEnding eEnding = eFate == Fate::Acknowledged ? EKtsReportEnding::Acknowledged
                                         : eFate == Fate::Parked     ? EKtsReportEnding::Parked
                                                                     : EKtsReportEnding::Dead;
        m_means.fnObserver({strKey, nType, eEnding, Reason(eVerdict, nError)});
    } catch (...) { // a host's observer may throw anything
        Say(1, __LINE__, "the observer of the outbox threw");
    }
}

} // namespace outbox

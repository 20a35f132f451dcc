#include "Run.h"

#include "RunName.h"

#include <algorithm>
#include <utility>

namespace outbox
{

namespace
{

constexpr int TRIES = 5; ///< for a new name; another process may take a new folder for an abandoned one

} // namespace

Run::Run(Folder& folder, std::string strName, std::unique_ptr<DiskLock> pLock)
    : m_folder(folder), m_strName(std::move(strName)), m_pLock(std::move(pLock))
{
}

std::shared_ptr<Run> Run::Make(Folder& folder, std::error_code& error)
{
    error = folder.Prepare();
    for (int nTry = 0; nTry < TRIES && !error; ++nTry) {
        auto pRun = std::make_shared<Run>(folder, NewRunName(), nullptr);
        if ((error = folder.Files().MakeFolder(pRun->Path()))) {
            break;
        }
        pRun->m_pLock = folder.Files().Lock(pRun->Path() + "/lock", error);
        if (pRun->m_pLock != nullptr) {
            return pRun;
        }
        if (error == std::errc::device_or_resource_busy || error == std::errc::no_such_file_or_directory) {
            error.clear();
        } else {
            folder.Files().RemoveFolder(pRun->Path());
        }
    }
    if (!error) {
        error = std::make_error_code(std::errc::device_or_resource_busy);
    }
    return nullptr;
}

std::error_code Run::Open(std::uint64_t nBytes, std::shared_ptr<Segment>& pSegment)
{
    pSegment = std::make_shared<Segment>(m_folder.Files(), Path(), m_strName, m_nLastNumber + 1);
    const std::error_code error = pSegment->Create(nBytes);
    if (!error || error == std::errc::file_exists) {
        ++m_nLastNumber;
    }
    return error;
}

std::optional<std::uint64_t> Run::Add(Report& report, bool bMayGrow, std::string& strWhyNot)
{
    const std::uint64_t nSequence = m_nLastSequence + 1;
    const bool bNewKey = report.strKey.empty();
    if (bNewKey) {
        report.strKey = m_strName + "-" + std::to_string(nSequence);
    }
    const std::string strRecord = WriteRecord(m_strName, nSequence, report);
    const auto Refuse = [&](std::string strWhy) {
        strWhyNot = std::move(strWhy);
        if (bNewKey) {
            report.strKey.clear();
        }
        return std::nullopt;
    };
    RecordFrame frame;
    if (ReadFrame(strRecord, frame) != Reading::Whole) { // it would not be accepted when it is read
        return Refuse("the report is too large");
    }
    m_nLastSequence = nSequence; // never used again: it may be in the file although that reports an error
    if (m_pCurrent != nullptr && m_pCurrent->HasRoomFor(strRecord.size()) &&
        !m_pCurrent->Append(nSequence, strRecord)) {
        return nSequence;
    }
    if (!bMayGrow) {
        return Refuse(strWhyNot);
    }
    const std::uint64_t nBytes = std::max<std::uint64_t>(m_folder.SegmentBytes(), strRecord.size());
    if (const std::string strWhy = m_folder.WhyNoRoomFor(nBytes + Segment::RESERVED_FOR_ENDINGS);
        !strWhy.empty()) {
        return Refuse(strWhy);
    }
    std::shared_ptr<Segment> pSegment;
    if (const std::error_code error = Open(nBytes, pSegment)) {
        return Refuse("no new file: " + error.message());
    }
    if (const std::error_code error = pSegment->Append(nSequence, strRecord)) {
        pSegment->Remove();
        return Refuse("writing failed: " + error.message());
    }
    Seal();
    m_pCurrent = pSegment;
    m_vecSegments.push_back(pSegment);
    return nSequence;
}

void Run::Seal()
{
    if (m_pCurrent != nullptr) {
        m_pCurrent->Seal();
        m_pCurrent.reset();
        RemoveEnded();
    }
}

void Run::End(std::uint64_t nSequence, Ending eEnding)
{
    bool bOver = false;
    for (const std::shared_ptr<Segment>& pSegment : m_vecSegments) { // two while one is moved
        if (pSegment->IsWaiting(nSequence)) {
            pSegment->End(nSequence, eEnding);
            bOver = bOver || (pSegment->IsSealed() && pSegment->CountWaiting() == 0);
        }
    }
    if (bOver) {
        RemoveEnded();
    }
}

void Run::WriteEndings()
{
    for (const std::shared_ptr<Segment>& pSegment : m_vecSegments) {
        static_cast<void>(pSegment->WriteEndings());
    }
}

/// Those that can't be removed are left to the next owner.
void Run::RemoveEnded()
{
    const auto IsOver = [this](const std::shared_ptr<Segment>& pSegment) {
        return pSegment != m_pCurrent && pSegment->CountWaiting() == 0 && !pSegment->bMoving &&
               !pSegment->bKept && !pSegment->Remove();
    };
    m_vecSegments.erase(std::remove_if(m_vecSegments.begin(), m_vecSegments.end(), IsOver),
                        m_vecSegments.end());
}

bool Run::IsWaiting(std::uint64_t nSequence) const
{
    return std::any_of(m_vecSegments.begin(), m_vecSegments.end(),
                       [nSequence](const auto& pSegment) { return pSegment->IsWaiting(nSequence); });
}

std::uint64_t Run::CountWaiting() const
{
    std::uint64_t nCount = 0;
    for (const std::shared_ptr<Segment>& pSegment : m_vecSegments) {
        nCount += pSegment->bMoving ? 0 : pSegment->CountWaiting();
    }
    return nCount;
}

std::optional<Run::Place> Run::Opened(const std::shared_ptr<Segment>& pSegment, std::uint64_t nSequence)
{
    Place place{pSegment, nSequence, pSegment->PlaceOf(nSequence), nullptr, {}};
    place.pFile = pSegment->File(place.error);
    return place;
}

std::optional<Run::Place> Run::WaitingAfter(std::uint64_t nSequence) const
{
    std::shared_ptr<Segment> pFirst;
    std::uint64_t nFirst = 0;
    for (const std::shared_ptr<Segment>& pSegment : m_vecSegments) {
        const auto optNext = pSegment->bMoving ? std::nullopt : pSegment->WaitingAfter(nSequence);
        if (optNext && (pFirst == nullptr || *optNext < nFirst)) {
            pFirst = pSegment;
            nFirst = *optNext;
        }
    }
    return pFirst == nullptr ? std::nullopt : Opened(pFirst, nFirst);
}

std::optional<Run::Place> Run::PlaceOf(std::uint64_t nSequence) const
{
    for (const std::shared_ptr<Segment>& pSegment : m_vecSegments) {
        if (!pSegment->bMoving && pSegment->IsWaiting(nSequence)) {
            return Opened(pSegment, nSequence);
        }
    }
    return std::nullopt;
}

std::shared_ptr<Segment> Run::BeginMove(const std::shared_ptr<Segment>& pFrom, std::error_code& error)
{
    if (pFrom == m_pCurrent) {
        Seal();
    }
    std::shared_ptr<Segment> pTo;
    error = Open(std::max<std::uint64_t>(pFrom->Bytes(), 1), pTo);
    if (error) {
        return nullptr;
    }
    const std::shared_ptr<DiskFile> pFile = pFrom->File(error);
    auto optNext = pFrom->WaitingAfter(0);
    for (; optNext && !error; optNext = pFrom->WaitingAfter(*optNext)) {
        Record record;
        std::string strBytes;
        const RecordPlace place = pFrom->PlaceOf(*optNext);
        const Reading eReading =
            FetchRecord(*pFile, m_strName, place.nOffset, place.nSteps, record, strBytes, error);
        if (!error && eReading == Reading::Whole && record.nSequence == *optNext) {
            error = pTo->Append(*optNext, strBytes);
        } // what can't be read stays where it is
    }
    if (error) {
        pTo->Remove();
        return nullptr;
    }
    pTo->Seal();
    pFrom->bMoving = true;
    m_vecSegments.push_back(pTo);
    return pTo;
}

void Run::EndMove(const std::shared_ptr<Segment>& pFrom, const std::shared_ptr<Segment>& pTo, bool bSynced)
{
    pFrom->bMoving = false;
    if (bSynced) {
        pTo->NoteSynced(pTo->Bytes());
        pTo->bEntrySynced = true;
        pFrom->bDoubtful = false;
        pFrom->NoteSynced(pFrom->Bytes());
        for (auto optNext = pTo->WaitingAfter(0); optNext; optNext = pTo->WaitingAfter(*optNext)) {
            pFrom->MarkEnded(*optNext);
        }
        RemoveEnded();
    } else {
        pTo->Remove();
        m_vecSegments.erase(std::remove(m_vecSegments.begin(), m_vecSegments.end(), pTo),
                            m_vecSegments.end());
    }
}

} // namespace outbox

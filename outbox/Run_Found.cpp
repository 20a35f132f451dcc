// What concerns runs that are found on the disk.

#include "Run.h"
#include "RunName.h"

#include <algorithm>
#include <charconv>

namespace outbox
{

namespace
{

constexpr std::size_t NUMBER_DIGITS = 8;

/// The number of a segment with that file name; nothing for other files.
std::optional<std::uint32_t> NumberOf(const std::string& strName, std::string_view strSuffix)
{
    std::uint32_t nNumber = 0;
    const char* const pEnd = strName.data() + NUMBER_DIGITS;
    if (strName.size() != NUMBER_DIGITS + strSuffix.size() || strName.substr(NUMBER_DIGITS) != strSuffix ||
        std::from_chars(strName.data(), pEnd, nNumber).ptr != pEnd) {
        return std::nullopt;
    }
    return nNumber;
}

} // namespace

std::shared_ptr<Run> Run::Take(Folder& folder, const std::string& strName, std::error_code& error)
{
    auto pRun = std::make_shared<Run>(folder, strName, nullptr);
    pRun->m_pLock = folder.Files().Lock(pRun->Path() + "/lock", error);
    if (pRun->m_pLock == nullptr) {
        return nullptr;
    }
    error = pRun->LoadMissing();
    pRun->RemoveEnded();
    pRun->SyncFound();
    pRun->GiveBackRoom();
    return pRun;
}

std::error_code Run::LoadMissing()
{
    m_bUnread = true;
    std::vector<DiskEntry> vecEntries;
    std::error_code error = m_folder.Files().List(Path(), vecEntries);
    if (error) {
        return error;
    }
    m_bUnread = false;
    std::sort(vecEntries.begin(), vecEntries.end(),
              [](const DiskEntry& a, const DiskEntry& b) { return a.strName < b.strName; });
    for (const DiskEntry& entry : vecEntries) {
        const auto optNumber = NumberOf(entry.strName, ".seg");
        const auto Is = [&](const auto& pSegment) { return pSegment->Number() == *optNumber; };
        if (!optNumber || std::any_of(m_vecSegments.begin(), m_vecSegments.end(), Is)) {
            continue;
        }
        m_nLastNumber = std::max(m_nLastNumber, *optNumber);
        const auto pSegment = std::make_shared<Segment>(m_folder.Files(), Path(), m_strName, *optNumber);
        if (const std::error_code unread = Load(pSegment)) {
            m_bUnread = true;
            error = unread;
        }
    }
    return error;
}

std::error_code Run::Load(const std::shared_ptr<Segment>& pSegment)
{
    SegmentDamage damage;
    if (const std::error_code error = pSegment->Load(damage)) {
        return error;
    }
    SetAside(*pSegment, damage);
    for (const std::shared_ptr<Segment>& pOther : m_vecSegments) {
        const bool bOlder = pOther->Number() < pSegment->Number();
        Resolve(bOlder ? *pOther : *pSegment, bOlder ? *pSegment : *pOther);
    }
    m_vecSegments.push_back(pSegment);
    return {};
}

/// The owner may have ended before it had synced everything.
void Run::SyncFound()
{
    const bool bDoubtful = !m_vecSegments.empty() && m_folder.Files().SyncFolder(Path());
    for (const std::shared_ptr<Segment>& pSegment : m_vecSegments) {
        pSegment->bDoubtful = pSegment->SyncFound() || bDoubtful;
    }
}

/// A host that ends again and again while the server is away would fill the folder with room that is only
/// reserved.
void Run::GiveBackRoom()
{
    for (const std::shared_ptr<Segment>& pSegment : m_vecSegments) {
        pSegment->GiveBackRoom();
    }
}

/// After a failed sync the same records may stand in two segments. The newer one counts, and an ending in
/// either counts for both.
void Run::Resolve(Segment& older, Segment& newer) const
{
    if (older.LastSequence() < newer.FirstSequence() || newer.LastSequence() < older.FirstSequence()) {
        return;
    }
    std::vector<std::uint64_t> vecEnded;
    static_cast<void>(older.ReadEndings(vecEnded)); // has just been read
    static_cast<void>(newer.ReadEndings(vecEnded));
    for (const std::uint64_t nEnded : vecEnded) {
        older.MarkEnded(nEnded);
        newer.MarkEnded(nEnded);
    }
    for (auto optNext = newer.WaitingAfter(0); optNext; optNext = newer.WaitingAfter(*optNext)) {
        older.MarkEnded(*optNext);
    }
}

std::error_code Run::Reload(Segment& segment)
{
    SegmentDamage damage;
    const std::error_code error = segment.Load(damage);
    if (!error) {
        SetAside(segment, damage);
        RemoveEnded();
    }
    return error;
}

void Run::SetAside(Segment& segment, const SegmentDamage& damage)
{
    m_nTorn += damage.nTorn;
    std::error_code error;
    const std::shared_ptr<DiskFile> pFile = segment.File(error);
    for (const RecordScan::Piece& piece : damage.vecBad) {
        const std::string strName = m_strName + "-" + Segment::FileName(segment.Number(), "") + "-" +
                                    std::to_string(piece.nOffset) + ".bin";
        m_vecDamages.push_back(strName);
        if (m_pLock != nullptr) {
            segment.bKept = segment.bKept || pFile == nullptr || m_folder.SetAside(*pFile, piece, strName);
        }
    }
}

void Run::Remove()
{
    Disk& disk = m_folder.Files();
    std::vector<DiskEntry> vecEntries;
    static_cast<void>(disk.List(Path(), vecEntries));
    for (const DiskEntry& entry : vecEntries) {
        if (NumberOf(entry.strName, ".ack")) { // left over from a segment that was removed
            disk.RemoveFile(Path() + "/" + entry.strName);
        }
    }
    // The lock is held until its name is gone, so that nobody takes what is being removed.
    disk.RemoveFile(Path() + "/lock");
    m_pLock.reset();
    disk.RemoveFolder(Path());
}

} // namespace outbox

#include "Outbox.h"

#include "ForkWatch.h"
#include "Say.h"

#include "platform/system/AtFork.h"
#include "platform/system/NeverDestroyed.h"
#include "platform/system/ProcessEnd.h"
#include "platform/system/QuietThread.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace outbox
{
namespace
{

using Lock = std::unique_lock<std::mutex>;
using Observer = std::function<void(const SKtsReportEnding&)>;

/// How long a stop waits for the thread, which may be in foreign code or wait for the disk.
constexpr Milliseconds CLERK_PATIENCE{1'000};

/// Whether there is an outbox, open or on its way to its end, or one has to be opened in the child of a fork.
std::atomic<bool> g_bAny = false;

/// Everything about the outbox of the process.
struct TheOutbox {
    std::mutex mutexOpening;                         ///< one opening at a time; locked before the other one
    std::mutex mutex;                                ///< guards everything below
    std::shared_ptr<Desk> pDesk;                     ///< null while it is closed
    std::vector<std::shared_ptr<Desk>> vecEnding;    ///< closed ones whose replies have not all come
    std::vector<std::shared_ptr<Desk>> vecAbandoned; ///< of the parent; never used
    bool bReopen = false; ///< the parent's was open, and this is the child of a fork
    OutboxSettings settings;
    MakeMeans fnMake;
    std::string strWhyNot;
    std::shared_ptr<const Observer> pObserver;
};

TheOutbox& The()
{
    static const NeverDestroyed<TheOutbox> outbox; // replies come until the process has ended
    return *outbox;
}

std::shared_ptr<Desk> OpenDesk()
{
    const Lock lock(The().mutex);
    return The().pDesk;
}

void CallObserver(const SKtsReportEnding& ending)
{
    std::shared_ptr<const Observer> pObserver;
    {
        const Lock lock(The().mutex);
        pObserver = The().pObserver;
    }
    if (pObserver != nullptr && *pObserver) {
        (*pObserver)(ending);
    }
}

/// The thread of an outbox.
void RunClerk(Desk& desk) noexcept
{
    while (desk.Rest(desk.Turn())) {
    }
    desk.CallBackStored();
    desk.NoteClerkGone();
}

/// @throws std::exception if there can be no outbox
std::shared_ptr<Desk> MakeDesk(const OutboxSettings& settings, const MakeMeans& fnMake, bool bTransportRuns)
{
    Desk::Means means = fnMake();
    means.fnObserver = &CallObserver;
    means.bTransportRuns = bTransportRuns;
    auto pDesk = std::make_shared<Desk>(settings, std::move(means));
    StartQuietThread([pDesk] { RunClerk(*pDesk); }).detach(); // `BeginStop` waits for it
    return pDesk;
}

/// Stops the outbox when the process ends. What is in flight then is answered as the transport ends.
void StopAtExit()
{
    UnlessThreadsAreGone([] { BeginStop(); });
}

void RegisterAtExit()
{
    static const bool bRegistered = AtProcessEnd(&StopAtExit);
    static_cast<void>(bRegistered);
}

// The outbox may be made for the first time here, so that its locks are known to be free in the child.
void BeforeFork()
{
    The().mutexOpening.lock();
    The().mutex.lock();
}

void AfterForkInParent()
{
    The().mutex.unlock();
    The().mutexOpening.unlock();
}

/// Abandons the parent's outboxes without destroying them: their threads are not here, their locks may be in
/// any state, and what they hold belongs to the parent.
void AfterForkInChild()
{
    TheOutbox& the = The();
    the.bReopen = the.bReopen || the.pDesk != nullptr;
    the.vecAbandoned.push_back(std::exchange(the.pDesk, nullptr));
    the.vecAbandoned.insert(the.vecAbandoned.end(), the.vecEnding.begin(), the.vecEnding.end());
    the.vecEnding.clear();
    AfterForkInParent();
}

const bool g_bForksPrepared =
    ForkWatch::Register() && AtFork(&BeforeFork, &AfterForkInParent, &AfterForkInChild);

/// Forgets the closed outboxes that have nothing to expect any more. Under the lock.
/// @return those, to be destroyed without the lock
std::vector<std::shared_ptr<Desk>> TakeEnded(TheOutbox& the)
{
    const auto itEnded = std::stable_partition(the.vecEnding.begin(), the.vecEnding.end(),
                                               [](const auto& pDesk) { return pDesk->HasFlights(); });
    std::vector<std::shared_ptr<Desk>> vecEnded(itEnded, the.vecEnding.end());
    the.vecEnding.erase(itEnded, the.vecEnding.end());
    g_bAny = the.pDesk != nullptr || the.bReopen || !the.vecEnding.empty();
    return vecEnded;
}

bool OpenWith(const OutboxSettings& settings, MakeMeans fnMake, bool bTransportRuns) noexcept
{
    TheOutbox& the = The();
    try {
        const Lock opening(the.mutexOpening);
        if (OpenDesk() != nullptr) {
            return true;
        }
        std::string strWhyNot;
        std::shared_ptr<Desk> pDesk;
        try {
            pDesk = MakeDesk(settings, fnMake, bTransportRuns);
            RegisterAtExit();
        } catch (const std::exception& error) {
            strWhyNot = error.what();
            Say(1, __LINE__, "there is no outbox, reports are not stored: ", error.what());
        }
        const Lock lock(the.mutex);
        the.settings = settings;
        the.fnMake = std::move(fnMake);
        the.strWhyNot = std::move(strWhyNot);
        the.bReopen = false;
        the.pDesk = std::move(pDesk);
        g_bAny = the.pDesk != nullptr || !the.vecEnding.empty();
        return the.pDesk != nullptr;
    } catch (const std::exception&) { // no memory
        return false;
    }
}

/// In the child of a fork, opens what the parent had open. The transport may still be stopped there.
void ReopenIfNeeded() noexcept
{
    OutboxSettings settings;
    MakeMeans fnMake;
    try {
        const Lock lock(The().mutex);
        if (!std::exchange(The().bReopen, false)) {
            return;
        }
        settings = The().settings;
        fnMake = The().fnMake;
    } catch (const std::exception&) { // no memory: the child has no outbox
        return;
    }
    OpenWith(settings, std::move(fnMake), false);
}

} // namespace

bool Open(const OutboxSettings& settings, MakeMeans fnMake) noexcept
{
    return OpenWith(settings, std::move(fnMake), true);
}

bool MaySend() noexcept
{
    return g_bAny;
}

bool Send(Report report, void* pUserData) noexcept
{
    if (!g_bAny) {
        return false;
    }
    ReopenIfNeeded();
    const std::shared_ptr<Desk> pDesk = OpenDesk();
    return pDesk != nullptr && pDesk->Send(std::move(report), pUserData);
}

bool OnReply(const std::string& strBody, void* pToken, int nError, const Answer& fnAnswer)
{
    if (!g_bAny || pToken == nullptr) {
        return false;
    }
    const std::shared_ptr<Desk> pDesk = OpenDesk();
    if (pDesk != nullptr && pDesk->OnReply(strBody, pToken, nError, fnAnswer)) {
        return true;
    }
    std::vector<std::shared_ptr<Desk>> vecEnding;
    {
        const Lock lock(The().mutex);
        vecEnding = The().vecEnding;
    }
    const bool bTaken = std::any_of(vecEnding.begin(), vecEnding.end(), [&](const auto& pEnding) {
        return pEnding->OnReply(strBody, pToken, nError, fnAnswer);
    });
    if (bTaken) {
        Lock lock(The().mutex);
        const auto vecEnded = TakeEnded(The());
        lock.unlock();
    }
    return bTaken;
}

void BeginStop() noexcept
{
    if (const std::shared_ptr<Desk> pDesk = OpenDesk()) {
        pDesk->Stop();
        if (!pDesk->AwaitClerk(CLERK_PATIENCE)) {
            pDesk->CallBackStored(); // the thread is in foreign code, or this is the thread
        }
    }
}

void Close(Milliseconds patience) noexcept
{
    BeginStop();
    TheOutbox& the = The();
    const std::shared_ptr<Desk> pDesk = OpenDesk();
    if (pDesk == nullptr) {
        return;
    }
    pDesk->AwaitFlights(patience);
    pDesk->GiveUpFlights();
    Lock lock(the.mutex);
    if (the.pDesk == pDesk) {
        the.vecEnding.push_back(std::move(the.pDesk));
        the.pDesk = nullptr;
    }
    const auto vecEnded = TakeEnded(the);
    lock.unlock();
}

OutboxState State()
{
    OutboxState state;
    std::shared_ptr<Desk> pDesk;
    {
        const Lock lock(The().mutex);
        pDesk = The().pDesk;
        state.strFolder = The().settings.strFolder;
        state.strWhyNot = The().strWhyNot;
    }
    state.bOpen = pDesk != nullptr;
    if (pDesk != nullptr) {
        state.figures = pDesk->Status();
    }
    return state;
}

void SetObserver(Observer fnObserver)
{
    auto pObserver = std::make_shared<const Observer>(std::move(fnObserver));
    const Lock lock(The().mutex);
    The().pObserver.swap(pObserver); // the previous one is destroyed after the lock is released
}

} // namespace outbox

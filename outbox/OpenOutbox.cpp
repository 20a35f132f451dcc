#include "OpenOutbox.h"

#include "OpenStore.h"
#include "Outbox.h"
#include "Say.h"

#include "platform/system/Environment.h"
#include "platform/system/NeverDestroyed.h"

#include <exception>
#include <mutex>
#include <random>
#include <utility>
#include <vector>

namespace outbox
{
namespace
{

class SteadyClock final : public Clock
{
public:
    TimePoint Now() const override { return std::chrono::steady_clock::now(); }
};

/// For waits that differ from host to host.
class SystemRandom final : public Random
{
public:
    double Fraction() override { return std::uniform_real_distribution<double>()(m_engine); }

private:
    std::mt19937_64 m_engine{std::random_device()()};
};

struct TheRegistered {
    std::mutex mutex; ///< guards everything below
    std::shared_ptr<const TransportPost::Receiver> pReceiver;
    std::string strDefaultFolder;
};

TheRegistered& Registered()
{
    static const NeverDestroyed<TheRegistered>
        registered; // reports are called back until the process has ended
    return *registered;
}

void Receive(const std::string& strBody, int nType, void* pUserData, int nHttpError)
{
    std::shared_ptr<const TransportPost::Receiver> pReceiver;
    {
        const std::lock_guard<std::mutex> lock(Registered().mutex);
        pReceiver = Registered().pReceiver;
    }
    if (pReceiver != nullptr && *pReceiver) {
        (*pReceiver)(strBody, nType, pUserData, nHttpError);
    }
}

/// @throws std::exception if there can be no outbox
Desk::Means RealMeans(const std::string& strFolder)
{
    Desk::Means means;
    means.pShelf = OpenStore(strFolder);
    means.pPost = std::make_unique<TransportPost>(&Receive);
    means.pClock = std::make_unique<SteadyClock>();
    means.pRandom = std::make_unique<SystemRandom>();
    return means;
}

bool SayAndOpen(const OutboxSettings& settings, const std::vector<std::string>& vecComplaints)
{
    for (const std::string& strComplaint : vecComplaints) {
        Say(1, __LINE__, strComplaint.c_str());
    }
    return Open(settings, [strFolder = settings.strFolder] { return RealMeans(strFolder); });
}

} // namespace

void SetReceiver(TransportPost::Receiver fnReceiver)
{
    auto pReceiver = std::make_shared<const TransportPost::Receiver>(std::move(fnReceiver));
    const std::lock_guard<std::mutex> lock(Registered().mutex);
    Registered().pReceiver.swap(pReceiver); // the previous one is destroyed after the lock is released
}

bool OpenIn(const std::string& strFolder) noexcept
{
    try {
        std::vector<std::string> vecComplaints;
        OutboxSettings settings = ReadOutboxSettings(vecComplaints);
        settings.strFolder = strFolder;
        return SayAndOpen(settings, vecComplaints);
    } catch (const std::exception&) { // no memory
        return false;
    }
}

void SetDefaultFolder(const std::string& strFolder)
{
    const std::lock_guard<std::mutex> lock(Registered().mutex);
    Registered().strDefaultFolder = strFolder;
}

bool OpenConfigured() noexcept
{
    try {
        std::vector<std::string> vecComplaints;
        OutboxSettings settings = ReadOutboxSettings(vecComplaints);
        if (!EnvironmentVariable(FOLDER_VARIABLE)) {
            const std::lock_guard<std::mutex> lock(Registered().mutex);
            settings.strFolder = Registered().strDefaultFolder;
        }
        return !settings.strFolder.empty() && SayAndOpen(settings, vecComplaints);
    } catch (const std::exception&) { // no memory
        return false;
    }
}

} // namespace outbox

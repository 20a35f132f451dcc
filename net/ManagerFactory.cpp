#include "ManagerFactory.h"

#include "EnvironmentsProxy.h"

#include "platform/system/NeverDestroyed.h"

#include <QNetworkAccessManager>

#include <memory>
#include <mutex>
#include <utility>

namespace
{

struct FactoryInForce {
    std::mutex mutex;                               ///< guards the member below
    std::shared_ptr<const ManagerFactory> pFactory; ///< null for none
};

FactoryInForce& TheFactory()
{
    static const NeverDestroyed<FactoryInForce> factory; // calls are made until the process has ended
    return *factory;
}

} // namespace

void SetManagerFactory(ManagerFactory fnMake)
{
    auto pFactory = fnMake ? std::make_shared<const ManagerFactory>(std::move(fnMake)) : nullptr;
    const std::lock_guard<std::mutex> lock(TheFactory().mutex);
    TheFactory().pFactory.swap(pFactory); // the previous one is destroyed after the lock is released
}

QNetworkAccessManager& ManagerFor(QNetworkAccessManager& own)
{
    std::shared_ptr<const ManagerFactory> pFactory;
    {
        const std::lock_guard<std::mutex> lock(TheFactory().mutex);
        pFactory = TheFactory().pFactory;
    }
    QNetworkAccessManager* const pMade = pFactory == nullptr ? nullptr : (*pFactory)(&own);
    if (pMade == nullptr) {
        return own;
    }
    pMade->setParent(&own);
    AvoidEnvironmentsProxy(*pMade);
    return *pMade;
}

#include "EnvironmentsProxy.h"

#include "platform/system/Environment.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>

void AvoidEnvironmentsProxy(QNetworkAccessManager& manager)
{
    if (IsEnvironmentsProxyAvoided()) {
        manager.setProxy(QNetworkProxy::NoProxy);
    }
}

bool IsEnvironmentsProxyAvoided()
{
    return RightsAreRaised() && QNetworkProxyFactory::usesSystemConfiguration();
}

#include "EnvironmentsProxy.h"

#include "platform/system/Environment.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>

void AvoidEnvironmentsProxy(QNetworkAccessManager& manager)
{
    if (RightsAreRaised() && QNetworkProxyFactory::usesSystemConfiguration()) {
        manager.setProxy(QNetworkProxy::NoProxy);
    }
}

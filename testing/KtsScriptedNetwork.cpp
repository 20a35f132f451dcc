#include "ScriptState.h"
#include "ScriptedReply.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/KtsNetworkAccess.h>
#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/testing/KtsScriptedNetwork.h>

#include <QIODevice>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QUrl>

#include <memory>
#include <utility>

using namespace VelCSDK;

namespace
{

/// The types that have a blocking sender.
constexpr int BLOCKING_TYPES[] = {
    RequestType::GetChannelCheckData, RequestType::GetWhetherInCommon, RequestType::PostUploadData,
    RequestType::ReportCycleData,     RequestType::ReportStepData,     RequestType::ReportStepDataOrn,
};

/// The type whose endpoint path stands at the end of a URL's path; 0 for none. If the path of one type ends
/// with that of another, the longer one counts.
int TypeOf(const QUrl& url)
{
    int nFound = 0;
    int nLength = 0;
    for (const int nType : BLOCKING_TYPES) {
        const QString strEndpoint = QString::fromStdString(SDKFactory::GetInstance()->GetUrl(nType));
        const QString strPath = '/' + QUrl(strEndpoint, QUrl::TolerantMode).path();
        if (strPath.size() > nLength && url.path().endsWith(strPath)) {
            nFound = nType;
            nLength = strPath.size();
        }
    }
    return nFound;
}

SKtsSent SentToNetwork(const QNetworkRequest& request, QIODevice* pBody)
{
    SKtsSent sent;
    sent.nType = TypeOf(request.url());
    sent.bPost = pBody != nullptr;
    sent.strUrl = request.url().toString(QUrl::FullyEncoded).toStdString();
    sent.strBody = pBody != nullptr ? pBody->readAll().toStdString() : std::string();
    for (const QByteArray& baName : request.rawHeaderList()) {
        sent.vecHeaders.push_back((baName + ": " + request.rawHeader(baName)).toStdString());
    }
    return sent;
}

} // namespace

/// The manager of one exchange.
class KtsScriptedNetwork::Manager : public QNetworkAccessManager
{
public:
    Manager(std::shared_ptr<State> pState, QObject* pParent)
        : QNetworkAccessManager(pParent), m_pState(std::move(pState))
    {
    }

protected:
    QNetworkReply* createRequest(Operation eOperation, const QNetworkRequest& request,
                                 QIODevice* pBody) override
    {
        return new ScriptedReply(eOperation, request, m_pState->ReplyFor(SentToNetwork(request, pBody)),
                                 this);
    }

private:
    const std::shared_ptr<State> m_pState;
};

KtsScriptedNetwork::KtsScriptedNetwork() : KtsScript("KtsScriptedNetwork")
{
    KtsSetNetworkAccess([pState = m_pState](QObject* pParent) {
        return std::make_unique<Manager>(pState, pParent).release();
    });
}

KtsScriptedNetwork::~KtsScriptedNetwork()
{
    KtsSetNetworkAccess({});
}

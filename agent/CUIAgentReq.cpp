#include <ktshttpagent/CUIAgentReq.h>

#include "AgentState.h"
#include "EndpointSettings.h"
#include "Logging.h"
#include "MetricsFile.h"
#include "OutboxSetting.h"
#include "ServerUrl.h"
#include "StartLine.h"
#include "SyncWait.h"
#include "TlsSetting.h"

#include "net/BlockingSettings.h"
#include "net/NetworkUse.h"
#include "platform/reply/ExchangeLimits.h"
#include "platform/system/ProcessEnd.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/clog.h>

#include <QThread>

#include <atomic>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <utility>

using namespace VelCSDK;

namespace
{

/// The request types that have a blocking sender.
constexpr int SYNC_TYPES[] = {RequestType::GetChannelCheckData, RequestType::GetWhetherInCommon,
                              RequestType::PostUploadData,      RequestType::ReportCycleData,
                              RequestType::ReportStepData,      RequestType::ReportStepDataOrn};

} // namespace

CUIAgentReq* CUIAgentReq::Instance()
{
    alignas(CUIAgentReq) static unsigned char storage[sizeof(CUIAgentReq)];
    static CUIAgentReq* const pInstance = [] {
        auto* const pMade = new (storage) CUIAgentReq;
        PrepareLogging();
        PrepareNetwork();
        StartMetricsFile();
        AtProcessEnd([] {
            EndNetworkUse(); // first, so that no blocking sender uses the object during its destruction
            // If the object belongs to another thread, it is not destroyed: that thread still runs and may
            // call it at any time.
            if (Instance()->thread() == QThread::currentThread()) {
                Instance()->~CUIAgentReq();
            }
        });
        return pMade;
    }();
    // Only now, because the line is made, and perhaps written, with the help of this function.
    static std::atomic<bool> bLogged = false;
    if (!bLogged && !bLogged.exchange(true)) {
        LogStart();
    }
    return pInstance;
}

CUIAgentReq::CUIAgentReq() : m_pState(std::make_unique<SAgentState>())
{
    SDKFactory::GetInstance()->Init();
    ExchangeLimitsInForce(); // read now, as the transport does with its own settings
    const std::string& strComplaint = BlockingSettingsComplaint(); // and these
    if (!strComplaint.empty()) {
        Log_Write(1, "CUIAgentReq::CUIAgentReq", 1, "%s", strComplaint.c_str());
    }
    ReadEndpoints();
    if (!TlsOfEnvironment()) {
        SetTls(ReadTlsSetting());
    }
    OpenOutboxOfProfile();
    for (const int nType : SYNC_TYPES) {
        m_mapSyncWait.insert(nType, new SyncWait);
    }
}

CUIAgentReq::~CUIAgentReq()
{
    // A sender that was stopped during its wait may never leave the event loop in its wait record, so the
    // records are then kept.
    if (HasNetworkUseEnded()) {
        // Keeps them reachable, so that they don't count as leaked. Atomic, because a compiler may remove any
        // other store that nothing reads.
        static std::atomic<QMap<int, SyncWait*>*> pKept;
        pKept = new (std::nothrow) QMap<int, SyncWait*>(m_mapSyncWait);
    } else {
        qDeleteAll(m_mapSyncWait);
    }
}

void CUIAgentReq::ReadEndpoints()
{
    const auto paths = ReadEndpointSettings();
    std::map<int, std::string> mapUrl;
    for (std::size_t nSetting = 0; nSetting < paths.size(); ++nSetting) {
        const EndpointSetting& setting = ENDPOINT_SETTINGS.at(nSetting);
        if (setting.nType == 0) {
            continue;
        }
        mapUrl.emplace(setting.nType, paths.at(nSetting));
        if (!paths.at(nSetting).empty()) {
            m_pState->mapEndpointOrigin.insert(setting.nType, DescribeEndpointSetting(setting));
        }
    }
    SDKFactory::GetInstance()->SetUrlMap(std::move(mapUrl));
}

QString CUIAgentReq::EndpointOrigin(int nType) const
{
    return m_pState->mapEndpointOrigin.value(nType, QStringLiteral("built in"));
}

void CUIAgentReq::SetStrictWaits(bool bStrict)
{
    if (QThread::currentThread() != thread()) {
        Log_Write(1, "CUIAgentReq::SetStrictWaits", 1, "%d is not set: this is not the thread of CUIAgentReq",
                  bStrict ? 1 : 0);
        return;
    }
    m_pState->bStrictWaits = bStrict;
}

bool CUIAgentReq::HasStrictWaits() const
{
    return m_pState->bStrictWaits;
}

void CUIAgentReq::SetQueryEscaping(bool bEscape)
{
    SDKFactory::SetQueryEscaping(bEscape);
}

bool CUIAgentReq::HasQueryEscaping() const
{
    return SDKFactory::HasQueryEscaping();
}

std::string CUIAgentReq::JointServerInfo(std::string strIp, int nPort)
{
    return ServerUrl(strIp, nPort);
}

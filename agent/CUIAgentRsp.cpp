#include "CUIAgentRsp.h"

#include "IVelClientSDk.h"
#include "RequestCatalogue.h"

#include "platform/system/ProcessEnd.h"

#include <QLoggingCategory>
#include <QMetaType>

#include <chrono>
#include <exception>
#include <memory>
#include <mutex>
#include <new>

using namespace VelCSDK;

namespace
{

Q_LOGGING_CATEGORY(logResponse, "ktshttpagent.response", QtWarningMsg)

// A receiver that hangs must not keep the process from ending.
constexpr std::chrono::seconds RECEIVER_GRACE{5};

/// Stands between the transport, which goes on delivering while the process ends, and the instance, which is
/// destroyed before that is over.
struct SDeliveryGate {
    std::recursive_timed_mutex mutex; ///< held during a delivery; recursive, since a receiver may call exit()
    bool bOpen = true;
};

std::shared_ptr<SDeliveryGate>& Gate()
{
    static std::shared_ptr<SDeliveryGate> pGate = std::make_shared<SDeliveryGate>();
    return pGate;
}

} // namespace

CUIAgentRsp* CUIAgentRsp::Instance()
{
    // Both are made before the instance, so that they are there until it is gone: the gate, and Qt's registry
    // of types, which asking for any unknown name makes. An answer under way copies its record by that
    // registry.
    Gate();
    QMetaType::type("CUIAgentRsp::Instance");
    alignas(CUIAgentRsp) static unsigned char storage[sizeof(CUIAgentRsp)];
    static CUIAgentRsp* const pInstance = [] {
        auto* const pMade = new (storage) CUIAgentRsp;
        AtProcessEnd([] { Instance()->~CUIAgentRsp(); });
        return pMade;
    }();
    return pInstance;
}

CUIAgentRsp::CUIAgentRsp()
{
    SDKFactory::GetInstance()->SetResponseCallBack(
        [this, pGate = Gate()](int nType, const void* pRequest, const void* pResponse, int nError) {
            const std::lock_guard<std::recursive_timed_mutex> lock(pGate->mutex);
            if (pGate->bOpen) {
                OnResponse(nType, pRequest, pResponse, nError);
            }
        });
}

CUIAgentRsp::~CUIAgentRsp()
{
    const std::unique_lock<std::recursive_timed_mutex> lock(Gate()->mutex, RECEIVER_GRACE);
    Gate()->bOpen = false;
}

void CUIAgentRsp::OnResponse(int nType, const void* pRequest, const void* pResponse, int nError)
{
    using Handler = void (CUIAgentRsp::*)(const void*, const void*, int);
    // By request type id, from 3100 on. Types behind the last have no signal.
    static constexpr Handler HANDLERS[] = {
        &CUIAgentRsp::ProcGetUserInfo,
        &CUIAgentRsp::ProcPostReportChlStat,
        &CUIAgentRsp::ProcPostReportIncubatorStatus,
        &CUIAgentRsp::ProcGetProjects,
        &CUIAgentRsp::ProcGetSupportVer,
        &CUIAgentRsp::ProcGetBattStatus,
        &CUIAgentRsp::ProcGetAutoExport,
        &CUIAgentRsp::ProcGetFtpFilePath,
        &CUIAgentRsp::ProcGetChannelUpDownPlatform,
        &CUIAgentRsp::ProcGetChannelCheckData,
        &CUIAgentRsp::ProcGetWhetherInCommon,
        &CUIAgentRsp::ProcGetCdlxFileListByDxtmList,
    };
    if (nType < RequestType::GetUserInfo || nType > RequestType::GetCdlxFileListByDxtmList) {
        return;
    }
    const Handler fnHandler = HANDLERS[nType - RequestType::GetUserInfo];
    try {
        (this->*fnHandler)(pRequest, pResponse, nError);
    } catch (const std::exception& error) {
        qCWarning(logResponse, "a receiver of the answer to a request of type %d threw: %s", nType,
                  error.what());
    } catch (...) {
        qCWarning(logResponse, "a receiver of the answer to a request of type %d threw", nType);
    }
}

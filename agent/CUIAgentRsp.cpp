#include <ktshttpagent/CUIAgentRsp.h>

#include "Deliveries.h"
#include "Logging.h"
#include "MovableRecord.h"

#include "platform/system/ProcessEnd.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/RequestType.h>

#include <QMetaType>

#include <chrono>
#include <exception>
#include <new>

using namespace VelCSDK;

namespace
{

// The longest wait for a receiver, so that one that hangs does not keep the process from ending.
constexpr std::chrono::seconds RECEIVER_GRACE{5};

/// Logs what a receiver threw; `szWhat` is null if the exception has no text. Never throws, not even if
/// memory has run out.
void LogThrown(int nType, const char* szWhat) noexcept
{
    try {
        qCWarning(LogResponse, "a receiver of the answer to a request of type %d threw%s%s", nType,
                  szWhat == nullptr ? "" : ": ", szWhat == nullptr ? "" : szWhat);
    } catch (...) { // the line is lost
    }
}

} // namespace

CUIAgentRsp* CUIAgentRsp::Instance()
{
    // Before the instance exists, makes Qt create what deliveries need, so that it is destroyed only after
    // the instance: logging, and the type registry by which records are copied. Looking up any unknown name
    // creates the registry.
    PrepareLogging();
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
    OpenDeliveries(*this);
    SDKFactory::GetInstance()->SetResponseCallBack(
        [this](int nType, const void* pRequest, const void* pResponse, int nError) {
            const Delivering delivering(this);
            if (delivering.IsAllowed()) {
                const MovableRecord movable(pResponse);
                OnResponse(nType, pRequest, pResponse, nError);
            }
        });
}

CUIAgentRsp::~CUIAgentRsp()
{
    CloseDeliveries(*this, RECEIVER_GRACE);
}

void CUIAgentRsp::OnResponse(int nType, const void* pRequest, const void* pResponse, int nError)
{
    using Handler = void (CUIAgentRsp::*)(const void*, const void*, int);
    // By request type id, from 3100 on. Types after the last have no signal.
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
        LogThrown(nType, error.what());
    } catch (...) {
        LogThrown(nType, nullptr);
    }
}

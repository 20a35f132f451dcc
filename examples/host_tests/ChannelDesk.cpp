#include "ChannelDesk.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>

#include <utility>

namespace
{

constexpr int TRIES = 2;

} // namespace

ChannelDesk::ChannelDesk(QString strHost, int nPort, QObject* pParent)
    : QObject(pParent), m_strHost(std::move(strHost)), m_nPort(nPort)
{
    const CUIAgentRsp* const pAnswers = CUIAgentRsp::Instance();
    connect(pAnswers, &CUIAgentRsp::SigGetSupportVerRet, this, &ChannelDesk::VersionChecked);
    connect(pAnswers, &CUIAgentRsp::SigPostReportIncubatorStatusRet, this, &ChannelDesk::OnReported);
    CUIAgentReq::Instance()->SetStrictWaits(true); // each blocking call returns the answer to itself only
}

void ChannelDesk::CheckVersion(const QString& strVersion)
{
    CUIAgentReq::Instance()->SendGetSupportVer(m_strHost, m_nPort, strVersion);
}

ChannelDesk::Permission ChannelDesk::MayStart(const QString& strDevice, const QString& strChannel,
                                              int nTimeout, QString& strReason)
{
    tagSRequestGetChannelCheckData question;
    question.deviceId = strDevice.toStdString();
    question.chl = strChannel.toStdString();
    CUIAgentReq& agent = *CUIAgentReq::Instance();
    bool bAllow = false;
    const bool bSucc =
        agent.SendGetChannelCheckDataEx(m_strHost, m_nPort, nTimeout, question, bAllow, strReason);
    const SBlockingOutcome outcome = agent.LastOutcome();
    if (outcome.eEnd != EBlockingEnd::Answered) {
        strReason = outcome.strError;
        return Permission::NoAnswer;
    }
    return bSucc && bAllow ? Permission::Allowed : Permission::Denied;
}

void ChannelDesk::ReportTemperature(const QString& strIncubator, float fTemperature)
{
    m_strIncubator = strIncubator;
    m_fTemperature = fTemperature;
    m_nTriesLeft = TRIES;
    SendTemperature();
}

void ChannelDesk::SendTemperature()
{
    --m_nTriesLeft;
    KTSStartPlugin::tagRepoIncubatorStatus status;
    status.name = m_strIncubator.toStdString();
    status.temperature = m_fTemperature;
    CUIAgentReq::Instance()->SendPostReportIncubatorStatus(m_strHost, m_nPort, status);
}

void ChannelDesk::OnReported(bool bSucc)
{
    if (!bSucc && m_nTriesLeft > 0) {
        SendTemperature();
        return;
    }
    Q_EMIT TemperatureReported(bSucc);
}

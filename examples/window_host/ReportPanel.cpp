#include "ReportPanel.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>

#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

ReportPanel::ReportPanel(const Server& server, QWidget* pParent)
    : QGroupBox(tr("Report"), pParent),
      m_server(server),
      m_pVoltage(new QDoubleSpinBox),
      m_pCurrent(new QDoubleSpinBox),
      m_pSend(new QPushButton),
      m_pStatus(new QLabel(tr("Check a channel first.")))
{
    m_pVoltage->setSuffix(" V");
    m_pVoltage->setValue(3.65);
    m_pCurrent->setSuffix(" A");
    m_pCurrent->setValue(1.5);
    ShowNext();

    auto* const pValues = new QHBoxLayout;
    pValues->addWidget(m_pVoltage);
    pValues->addWidget(m_pCurrent);
    pValues->addWidget(m_pSend);
    auto* const pRows = new QVBoxLayout(this);
    pRows->addLayout(pValues);
    pRows->addWidget(m_pStatus);

    connect(m_pSend, &QPushButton::clicked, this, &ReportPanel::Send);
    connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigPostReportChlStatRet, this, &ReportPanel::TakeAnswer);
}

void ReportPanel::AddChannel(const SRequestGetChannelCheckData& check)
{
    m_lstAllowed.push_back(check);
    ShowNext();
}

void ReportPanel::ShowNext()
{
    m_pSend->setEnabled(!m_lstAllowed.empty() && !m_bWaiting);
    m_pSend->setText(tr("&Report the start"));
    if (!m_lstAllowed.empty()) {
        const QString strChannel = QString::fromStdString(m_lstAllowed.front().chl);
        const QString strDevice = QString::fromStdString(m_lstAllowed.front().deviceId);
        m_pSend->setText(tr("&Report the start of channel %1 of %2").arg(strChannel, strDevice));
    }
}

KTSStartPlugin::tagRepoChlStatusInfo ReportPanel::Report() const
{
    const SRequestGetChannelCheckData& channel = m_lstAllowed.front();
    KTSStartPlugin::tagRepoChlStatusInfo report;
    report.action = "start";
    report.deviceId = channel.deviceId;
    report.box = "1";
    // A report counts channels from 0, a channel check as the device does: from 1.
    report.chl = std::to_string(QString::fromStdString(channel.chl).toInt() - 1);
    report.dxtm = channel.dxtm;
    report.wtNumId = static_cast<unsigned int>(channel.wtNumId);
    report.xmNameId = static_cast<unsigned int>(channel.xmNameId);
    report.voltage = m_pVoltage->value();
    report.current = m_pCurrent->value();
    return report;
}

void ReportPanel::Send()
{
    KTSStartPlugin::tagRepoChlStatusInfo report = Report();
    m_bWaiting = true; // before the call, because a report that can't be sent is answered within it
    ShowNext();
    m_pStatus->setText(tr("Waiting for the server …"));
    CUIAgentReq::Instance()->SendPostReportChlStatus(m_server.strHost, m_server.nPort, m_server.strVersion,
                                                     report);
}

void ReportPanel::TakeAnswer(bool bSucc)
{
    if (!m_bWaiting) {
        return; // the answer to a report by another part of the program
    }
    m_bWaiting = false;
    if (bSucc) {
        m_lstAllowed.pop_front();
        m_pStatus->setText(tr("The server has the report."));
    } else {
        m_pStatus->setText(tr("The report has not arrived, or the server refused it. The log says why."));
    }
    ShowNext();
}

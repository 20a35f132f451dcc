#include "ChannelCheckPanel.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>

#include <algorithm>
#include <tuple>

namespace
{

bool IsSame(const SRequestGetChannelCheckData& one, const SRequestGetChannelCheckData& other)
{
    const auto fnMembers = [](const SRequestGetChannelCheckData& question) {
        return std::tie(question.wtNumId, question.xmNameId, question.dxtm, question.deviceId, question.chl,
                        question.purpose);
    };
    return fnMembers(one) == fnMembers(other);
}

} // namespace

ChannelCheckPanel::ChannelCheckPanel(const Server& server, QWidget* pParent)
    : QGroupBox(tr("Channel check"), pParent),
      m_server(server),
      m_pProject(new QLabel(tr("Select one in the list."))),
      m_pBarcode(new QLineEdit("CELL-0001")),
      m_pDevice(new QLineEdit("KTS-0007")),
      m_pChannel(new QSpinBox),
      m_pCheck(new QPushButton(tr("&Check"))),
      m_pCancel(new QPushButton(tr("C&ancel"))),
      m_pProgress(new QProgressBar),
      m_pStatus(new QLabel(tr("Not checked yet.")))
{
    LayOut();
    ShowWaiting(false);
    connect(m_pCheck, &QPushButton::clicked, this, &ChannelCheckPanel::Check);
    connect(m_pCancel, &QPushButton::clicked, this, &ChannelCheckPanel::Cancel);
    connect(&m_clock, &QTimer::timeout, this, &ChannelCheckPanel::ShowSeconds);
    connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetChannelCheckDataRet, this,
            &ChannelCheckPanel::TakeAnswer);
}

void ChannelCheckPanel::LayOut()
{
    m_pChannel->setRange(1, 64);
    m_pProgress->setTextVisible(false);

    auto* const pPlace = new QHBoxLayout;
    pPlace->addWidget(m_pDevice);
    pPlace->addWidget(new QLabel(tr("Channel")));
    pPlace->addWidget(m_pChannel);
    auto* const pButtons = new QHBoxLayout;
    pButtons->addWidget(m_pCheck);
    pButtons->addWidget(m_pProgress);
    pButtons->addWidget(m_pCancel);

    auto* const pForm = new QFormLayout(this);
    pForm->addRow(tr("Project"), m_pProject);
    pForm->addRow(tr("Cell"), m_pBarcode);
    pForm->addRow(tr("Device"), pPlace);
    pForm->addRow(pButtons);
    pForm->addRow(m_pStatus);
}

void ChannelCheckPanel::SetProject(const SProjectItem& project)
{
    m_optProject = project;
    m_pProject->setText(QString::fromStdString(project.xmName.name + ", " + project.wtdh.name));
    m_pCheck->setEnabled(!m_optAsked);
}

SRequestGetChannelCheckData ChannelCheckPanel::Question() const
{
    SRequestGetChannelCheckData question;
    question.wtNumId = QString::fromStdString(m_optProject->wtdh.id).toInt();
    question.xmNameId = QString::fromStdString(m_optProject->xmName.id).toInt();
    question.dxtm = m_pBarcode->text().toStdString();
    question.deviceId = m_pDevice->text().toStdString();
    question.chl = std::to_string(m_pChannel->value());
    question.purpose = "cycle life";
    return question;
}

void ChannelCheckPanel::Check()
{
    const SRequestGetChannelCheckData question = Question();
    if (FindCancelled(question) != m_vecCancelled.end()) {
        m_pStatus->setText(tr("The answer to the cancelled check of this channel is still on its way."));
        return;
    }
    m_optAsked = question;
    ShowWaiting(true);
    CUIAgentReq::Instance()->SendGetChannelCheckData(m_server.strHost, m_server.nPort, question);
}

void ChannelCheckPanel::ShowWaiting(bool bWaiting)
{
    m_pCheck->setEnabled(!bWaiting && m_optProject);
    m_pCancel->setEnabled(bWaiting);
    m_pProgress->setRange(0, bWaiting ? 0 : 1); // 0 to 0: how long it takes is not known
    if (bWaiting) {
        m_waitingSince.start();
        m_clock.start(250);
        ShowSeconds();
    } else {
        m_clock.stop();
    }
}

void ChannelCheckPanel::ShowSeconds()
{
    m_pStatus->setText(tr("Waiting for the server, %1 s").arg(m_waitingSince.elapsed() / 1000));
}

void ChannelCheckPanel::Cancel()
{
    if (!m_optAsked) {
        return;
    }
    m_vecCancelled.push_back(*m_optAsked);
    m_optAsked.reset();
    ShowWaiting(false);
    m_pStatus->setText(tr("Cancelled. Whether the channel may start is not known."));
}

ChannelCheckPanel::Questions::iterator
ChannelCheckPanel::FindCancelled(const SRequestGetChannelCheckData& question)
{
    return std::find_if(m_vecCancelled.begin(), m_vecCancelled.end(),
                        [&](const auto& cancelled) { return IsSame(cancelled, question); });
}

void ChannelCheckPanel::TakeAnswer(bool bSucc, const QString& /*strMessage*/, const QString& strAllowBoot,
                                   const QString& strReason, const QVariant& varQuestion)
{
    const auto question = varQuestion.value<SRequestGetChannelCheckData>();
    const auto itCancelled = FindCancelled(question);
    if (itCancelled != m_vecCancelled.end()) {
        m_vecCancelled.erase(itCancelled); // the late answer, which nobody waits for any more
        return;
    }
    if (!m_optAsked || !IsSame(*m_optAsked, question)) {
        return; // the answer to a check by another part of the program
    }
    m_optAsked.reset();
    ShowWaiting(false);
    if (!bSucc) {
        m_pStatus->setText(tr("No answer, so the channel must not start. The log says why."));
    } else if (strAllowBoot.compare("yes", Qt::CaseInsensitive) != 0) {
        m_pStatus->setText(tr("The channel must not start: %1").arg(strReason));
    } else {
        m_pStatus->setText(tr("The channel may start: %1").arg(strReason));
        Q_EMIT ChannelAllowed(question);
    }
}

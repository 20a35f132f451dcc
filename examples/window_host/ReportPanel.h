#pragma once

#include "Server.h"

#include <ktshttpagent/ResultVariants.h>

#include <QGroupBox>

#include <deque>

class QDoubleSpinBox;
class QLabel;
class QPushButton;

/// Reports that a channel has started, once for each channel check that allowed it.
class ReportPanel : public QGroupBox
{
    Q_OBJECT

public:
    explicit ReportPanel(const Server& server, QWidget* pParent = nullptr);

    /// Adds a channel to report about: one that the server has allowed to start.
    void AddChannel(const SRequestGetChannelCheckData& check);

private:
    void Send();
    void TakeAnswer(bool bSucc);
    void ShowNext();
    KTSStartPlugin::tagRepoChlStatusInfo Report() const;

    const Server m_server;
    std::deque<SRequestGetChannelCheckData> m_lstAllowed; ///< the first one is reported next
    bool m_bWaiting = false;                              ///< for the answer to the report about it
    QDoubleSpinBox* const m_pVoltage;
    QDoubleSpinBox* const m_pCurrent;
    QPushButton* const m_pSend;
    QLabel* const m_pStatus;
};

#pragma once

#include "Server.h"

#include <ktshttpagent/ResultVariants.h>

#include <QElapsedTimer>
#include <QGroupBox>
#include <QTimer>
#include <QVariant>

#include <optional>
#include <vector>

class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QSpinBox;

/// Asks the server whether a channel may start, shows that it waits, and lets the user cancel the wait.
class ChannelCheckPanel : public QGroupBox
{
    Q_OBJECT

public:
    explicit ChannelCheckPanel(const Server& server, QWidget* pParent = nullptr);

    /// Sets the project that the channel is checked for.
    void SetProject(const SProjectItem& project);

Q_SIGNALS:
    /// The server has said yes to this question.
    void ChannelAllowed(const SRequestGetChannelCheckData& question);

private:
    using Questions = std::vector<SRequestGetChannelCheckData>;

    void LayOut();
    void Check();
    void Cancel();
    void TakeAnswer(bool bSucc, const QString& strMessage, const QString& strAllowBoot,
                    const QString& strReason, const QVariant& varQuestion);
    void ShowWaiting(bool bWaiting);
    void ShowSeconds();
    SRequestGetChannelCheckData Question() const;
    Questions::iterator FindCancelled(const SRequestGetChannelCheckData& question);

    const Server m_server;
    std::optional<SProjectItem> m_optProject;              ///< what the channel is checked for
    std::optional<SRequestGetChannelCheckData> m_optAsked; ///< the question that the panel waits for
    Questions m_vecCancelled;                              ///< questions whose answers are still to come
    QElapsedTimer m_waitingSince;
    QTimer m_clock;
    QLabel* const m_pProject;
    QLineEdit* const m_pBarcode;
    QLineEdit* const m_pDevice;
    QSpinBox* const m_pChannel;
    QPushButton* const m_pCheck;
    QPushButton* const m_pCancel;
    QProgressBar* const m_pProgress;
    QLabel* const m_pStatus;
};

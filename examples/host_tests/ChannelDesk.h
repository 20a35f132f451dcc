#pragma once

#include <QObject>
#include <QString>

/// A small part of a host, which the tests of this example are about: it asks the laboratory's server about a
/// channel, and reports to it.
class ChannelDesk : public QObject
{
    Q_OBJECT

public:
    enum class Permission {
        Allowed,  ///< the server says that the channel may start
        Denied,   ///< the server says no
        NoAnswer, ///< there is no answer to this question, so the channel must not start
    };

    ChannelDesk(QString strHost, int nPort, QObject* pParent = nullptr);

    /// Asks whether the server supports a version. Answer: `VersionChecked`.
    void CheckVersion(const QString& strVersion);

    /// Asks whether a channel may start, and waits for the answer.
    /// @param strReason  out: the server's reason, or why there is no answer
    Permission MayStart(const QString& strDevice, const QString& strChannel, int nTimeout,
                        QString& strReason);

    /// Reports a temperature, and reports it once more if that fails. Answer: `TemperatureReported`.
    void ReportTemperature(const QString& strIncubator, float fTemperature);

Q_SIGNALS:
    void VersionChecked(bool bSupported);
    void TemperatureReported(bool bSucc);

private:
    void OnReported(bool bSucc);
    void SendTemperature();

    const QString m_strHost;
    const int m_nPort;
    QString m_strIncubator;
    float m_fTemperature = 0;
    int m_nTriesLeft = 0;
};

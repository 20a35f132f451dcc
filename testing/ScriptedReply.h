#pragma once

#include "ScriptState.h"

#include <QByteArray>
#include <QNetworkReply>

/// A reply of Qt's network access that comes from a script. It emits what a real one emits, from the event
/// loop of its thread.
class ScriptedReply : public QNetworkReply
{
public:
    ScriptedReply(QNetworkAccessManager::Operation eOperation, const QNetworkRequest& request,
                  const ChosenReply& chosen, QObject* pParent);

    void abort() override;
    qint64 bytesAvailable() const override;
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* pData, qint64 nMost) override;

private:
    void Come(const ChosenReply& chosen);
    void TakeBody(const KtsReply& reply);
    void End(NetworkError eError, const QString& strError);

    QByteArray m_baBody; ///< what is not read yet
};

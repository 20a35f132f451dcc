#pragma once

#include <QByteArray>
#include <QString>

/// A reply of the lab server to a call of its operator interface.
struct LabCallReply {
    int nStatus = 0; ///< 0 if there is no whole reply
    QByteArray baBody;
    QString strError; ///< why there is no reply with status 200; empty if there is one
};

/// Calls the operator interface of a lab server on this machine. Blocks, without handling events.
/// @param szMethod  "GET", "POST" or "DELETE"
/// @param strPath   begins with "/"
/// @param baJson    the body; sent if it is not empty
LabCallReply CallLab(int nPort, const char* szMethod, const QString& strPath, const QByteArray& baJson,
                     int nMostMilliseconds);

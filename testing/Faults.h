#pragma once

#include <ktshttpagent/testing/KtsReply.h>

#include <QNetworkReply>

/// How a fault shows on the two interfaces.
struct FaultWords {
    EKtsFault eFault;
    int nOutcome;                       ///< of `CHttpOutcome`
    QNetworkReply::NetworkError eError; ///< Qt's error
    const char* szWords;                ///< why there is no reply
};

const FaultWords& WordsOf(EKtsFault eFault);

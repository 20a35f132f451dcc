#pragma once

#include "AnswerSignal.h"
#include "FieldSlots.h"
#include "ServerAddress.h"

#include <ktshttpagent/CUIAgentReq.h>

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// The arguments of all operations. An operation uses only its own.
struct Arguments {
    ServerAddress server;
    QString strUrl; ///< base URL, with its trailing "/"
    int userId = 0;
    QString t;
    QStringList dxtmList;
    QString dxtm;
    QString bjtzser;
    QString csxmser;
    QString supplier;
    QString batteryStatus;
    QString strData; ///< the content of a JSON array; for the ORN report a whole body
    tagSRequestGetChannelCheckData channelCheck;
    KTSStartPlugin::tagRepoChlStatusInfo chlStatus;
    KTSStartPlugin::tagRepoIncubatorStatus incubatorStatus;
    tagBatteryTestData batteryTestData;
};

/// One option of an operation's command line.
struct OperationOption {
    std::string strName; ///< with its dashes; further names after commas
    std::string strHelp;
    std::variant<ServerAddress Arguments::*, QString Arguments::*, QStringList Arguments::*, int Arguments::*>
        pArgument;
};

/// How an asynchronous sender is answered.
struct OperationAnswer {
    AnswerSignal signal; ///< none if no answer ever comes
    /// The name of the signal's argument that only a decoded answer of the server fills; it distinguishes
    /// "the server said no" from "the exchange failed". Empty if the signal has no such argument.
    std::string strFilledByServer = {};
    bool bSends = true; ///< whether a request is sent at all
};

/// A blocking sender of the agent.
struct SyncSender {
    int nId; ///< the request type id of its request
    /// Calls the sender and appends its out-parameters to the values.
    /// @return the sender's return value
    std::function<bool(CUIAgentReq&, Arguments&, int nTimeoutMs, NamedValues&)> fnSend;
    bool bEverTrue = true; ///< whether it returns true for any reply
};

/// An operation of the agent, with an asynchronous sender, a blocking one, or both.
struct Operation {
    std::string strName;
    int nId; ///< the request type id of the asynchronous request
    std::string strHelp;
    std::vector<OperationOption> vecOptions;
    std::function<void(CUIAgentReq&, Arguments&)> fnSend; ///< the asynchronous sender; may be empty
    OperationAnswer answer;
    /// Returns the slots of the operation's record, which refer to the arguments; empty if it has no record.
    std::function<std::vector<FieldSlot>(Arguments&)> fnRecord = nullptr;
    std::optional<SyncSender> optSync = std::nullopt;
};

/// All operations, in the order of their ids.
const std::vector<Operation>& Operations();

/// The operation with a name.
/// @throws std::out_of_range for an unknown name
const Operation& FindOperation(const std::string& strName);

/// The name of the operation that sends a request type, by either interface; or else the id.
std::string OperationOf(int nType);

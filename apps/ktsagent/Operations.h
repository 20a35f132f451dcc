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

/// Every argument that an operation may take. An operation reads its own and leaves the others alone.
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
    QString strData; ///< the inside of a JSON array; for the ORN report a whole body
    tagSRequestGetChannelCheckData channelCheck;
    KTSStartPlugin::tagRepoChlStatusInfo chlStatus;
    KTSStartPlugin::tagRepoIncubatorStatus incubatorStatus;
    tagBatteryTestData batteryTestData;
};

/// One option of an operation's command line.
struct OperationOption {
    std::string strName; ///< with its dashes; other names behind commas
    std::string strHelp;
    std::variant<ServerAddress Arguments::*, QString Arguments::*, QStringList Arguments::*, int Arguments::*>
        pArgument;
};

/// What comes of calling an asynchronous sender.
struct OperationAnswer {
    AnswerSignal signal; ///< none where no answer ever comes
    /// The argument of the signal that only a decoded answer of the server fills, so it tells "the server
    /// said no" from "the exchange failed"; empty where the signal has none.
    std::string strFilledByServer = {};
    bool bSends = true; ///< whether there is a request at all
};

/// A blocking sender of the agent.
struct SyncSender {
    int nId; ///< the request type id that it travels under
    /// Calls it, and appends its out-parameters to the values.
    /// @return what it returned
    std::function<bool(CUIAgentReq&, Arguments&, int nTimeoutMs, NamedValues&)> fnSend;
    bool bEverTrue = true; ///< whether there is a reply on which it returns true
};

/// One thing that the agent does, by an asynchronous sender, a blocking one, or either.
struct Operation {
    std::string strName;
    int nId; ///< the request type id that it travels under when it is sent asynchronously
    std::string strHelp;
    std::vector<OperationOption> vecOptions;
    std::function<void(CUIAgentReq&, Arguments&)> fnSend; ///< the asynchronous sender; may be empty
    OperationAnswer answer;
    /// The slots of the record that it takes, which refer to the arguments; empty where it takes none.
    std::function<std::vector<FieldSlot>(Arguments&)> fnRecord = nullptr;
    std::optional<SyncSender> optSync = std::nullopt;
};

/// All operations, in the order of their ids.
const std::vector<Operation>& Operations();

/// The operation of a name.
/// @throws std::out_of_range for an unknown one
const Operation& FindOperation(const std::string& strName);

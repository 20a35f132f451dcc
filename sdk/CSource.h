#pragma once

#include <ktshttpagent/ResultRecords.h>

#include <string>

namespace VelCSDK
{

enum class EArrayRoot;

/// The decoders: one for each type of request whose reply is read. A decoder fills a payload record from the
/// reply's body, hands it over once, whatever the body holds, and then frees the request's user data. A body
/// beyond the limits of ReplyLimits.h, or one for which memory runs out, is a failure like one that can't be
/// parsed, and a line in the log says why. Nobody else reads the payload once it is handed over.
///
/// Threads: decoders run on the transport's delivering thread; they keep nothing between two calls.
class CSource
{
public:
    /// Registers the decoders with `CDataResponse`.
    CSource();

    /// Calls the client's response callback. Throws `std::bad_function_call` when none is set.
    void Notify(int nType, const void* pUser, const SResponseHeader& header, int nResult);

private:
    using Decoder = void (CSource::*)(const std::string& body, int nType, void* pUserData);
    struct SRegistration {
        int nType;
        Decoder fnDecoder;
    };
    static const SRegistration REGISTRATIONS[];

    void OnGetUserInfo(const std::string& body, int nType, void* pUserData);
    void OnReportAck(const std::string& body, int nType, void* pUserData);
    void OnGetSupportVer(const std::string& body, int nType, void* pUserData);
    void OnGetProjects(const std::string& body, int nType, void* pUserData);
    void OnGetBattStatus(const std::string& body, int nType, void* pUserData);
    void OnGetAutoExport(const std::string& body, int nType, void* pUserData);
    void OnGetFtpFilePath(const std::string& body, int nType, void* pUserData);
    void OnGetChannelCheckData(const std::string& body, int nType, void* pUserData);
    void OnGetWhetherInCommon(const std::string& body, int nType, void* pUserData);
    void OnIgnore(const std::string& body, int nType, void* pUserData);

    template <class Read>
    void Decode(const std::string& body, int nType, void* pUserData, EArrayRoot eArrayRoot, Read fnRead);

    /// Notifies with a payload record and the result of reading the reply.
    void HandOver(int nType, const void* pUser, const void* pPayload, int nResult);
};

} // namespace VelCSDK

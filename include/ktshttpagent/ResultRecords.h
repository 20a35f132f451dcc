#pragma once

/// @file
/// The records that the decoders fill from the server's replies. A host with Qt finds them inside the
/// variants of `CUIAgentRsp` (CUIAgentRsp.h; ResultVariants.h makes the variants readable). A host without Qt
/// gets them in its `VelCSDK::ResponseCallBack` (IVelClientSDk.h). The records that a host passes with a
/// request are in RequestRecords.h. What the fields mean is in docs/glossary.md, as far as it is known.
///
/// All texts are UTF-8 as received, cut at their first NUL byte. If a member is missing in the reply, or has
/// another JSON type, its field keeps the default.
///
/// A list may have 250,000 elements and a reply 2,000,000 values. The environment can change these limits
/// (KTSHTTPAGENT_MAX_LIST_ELEMENTS, KTSHTTPAGENT_MAX_REPLY_VALUES). A reply that exceeds one counts as a
/// reply that can't be parsed.
///
/// Ownership and threads: plain values. A record from a variant is a copy, which belongs to the host. The
/// records that the callback gets are valid only during that call, on the delivering thread.

#include <string>
#include <vector>

/// What the response callback gets with every decoded reply. Header and payload are valid only during that
/// call.
struct SResponseHeader {
    std::string strExtra1;       ///< never written
    std::string strExtra2;       ///< never written
    int nCode = 0;               ///< 0 success, -1 failure; for user information the server's "code"
    const void* pData = nullptr; ///< the request's payload record; not set for acknowledgements
    std::string strMessage;      ///< "description" of a user-information reply; else empty
};

/// User information (request 3100); read only when the reply's code is 0.
struct USER_INFO {
    int id = 0;         ///< member "id"
    std::string title;  ///< member "title"
    std::string author; ///< member "author"
};

/// Whether a version is supported (request 3104).
struct SSupportVer {
    std::string com;        ///< member "com"
    std::string ver;        ///< member "ver"
    bool bSupport = false;  ///< member "success" was the literal true
    std::string strVersion; ///< the text that the query asked about
};

/// A number and a name, by which the project list identifies things.
struct SIdName {
    std::string id;   ///< member "id", an integer, as decimal text
    std::string name; ///< member "name"
};

/// One test project.
struct SProjectItem {
    std::string xh;     ///< member "xh"
    SIdName wtdh;       ///< member "委托单号", the work order
    SIdName csType;     ///< member "测试类型", the test type
    SIdName xmClassify; ///< member "项目分类", the project class
    SIdName xmName;     ///< member "项目名称", the project name
};

/// Test projects (request 3103).
struct SResponseGetProject {
    bool bSuccess = false;                ///< member "success" was the literal true
    std::string strUserText;              ///< the second text of the query (its `t`)
    std::vector<SProjectItem> lstProject; ///< one item for each element of "实验项目", in its order
};

/// One battery with the states that it can have.
struct SBatteryItem {
    int id = 0;                 ///< member "id"
    std::string name;           ///< member "name"
    std::vector<int> lstStatus; ///< "id" of each element of "电池状态" whose "id" is an integer
};

/// Battery states (request 3105).
struct SResponseGetBatteryStatus {
    bool bSuccess = false;                ///< member "success" was the literal true
    std::vector<SBatteryItem> lstBattery; ///< one item for each element of "全部电池状态", in its order
};

/// The data for a cell's export file (request 3106).
struct SResponseGetAutoExport {
    bool bSuccess = false; ///< member "success" was the literal true
    /// The member of the same name in the object "result".
    /// @{
    std::string strAnodeMaterial;
    std::string strBatchNumber;
    std::string strContainerNumber;
    std::string strCustomer;
    std::string strDiaphragm;
    std::string strElectrolyte;
    std::string strNegativeMaterial;
    std::string strOrderNO;
    std::string strPlace;
    std::string strProjectClassify;
    std::string strShareOrder;
    std::string strShareSample;
    std::string strSystemCapacity;
    std::string strTestClassify;
    std::string strTestProject;
    std::string strTestPurpose;
    std::string strTestReporter;
    std::string strTestType;
    std::string strThickRat;
    std::string strType;
    /// @}
};

/// Where test files are kept on the FTP server (request 3107); both fields come from the object "result".
struct SResponseGetFtpFilePath {
    bool bSuccess = false;      ///< member "success" was the literal true
    bool bPermit = false;       ///< member "permit"
    std::string strFtpFilePath; ///< member "ftpFilePath"
};

/// Whether a channel may start (request 3109).
struct SResponseGetChannelCheckData {
    bool bSuccess = false;    ///< member "success" was the literal true
    std::string strMessage;   ///< member "message"
    std::string strAllowBoot; ///< member "allowBoot" of the object "result", a text such as "yes"
    std::string strReason;    ///< member "reason" of the object "result"
};

/// Whether a cell barcode is in common (request 3110).
struct SResponseGetWhetherInCommon {
    bool bSuccess = false;  ///< member "success" was the literal true
    std::string strMessage; ///< member "message"
    bool bCommon = false;   ///< member "common" was the literal true
};

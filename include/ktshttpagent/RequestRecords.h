#pragma once

/// @file
/// The records that a host hands in with a request. `CUIAgentReq` (CUIAgentReq.h) and
/// `VelCSDK::IVelClientSDk` (IVelClientSDk.h) take them; what comes back stands in ResultRecords.h.
///
/// Their field order is their memory layout, which hosts share with the library: fields are only ever added
/// at the end of a record, with a new library version. All texts are UTF-8.
///
/// Ownership and threads: plain values, which belong to the host; a call has read its record when it returns.

#include <string>

/// What a channel-check query asks about (request 3109). Every field is sent under its own name, as a
/// value of the URL's query; the texts are query texts (see `CUIAgentReq`), which are not encoded.
struct tagSRequestGetChannelCheckData {
    int wtNumId = 0;      ///< work number
    int xmNameId = 0;     ///< project name
    std::string dxtm;     ///< cell barcode
    std::string deviceId; ///< test device
    std::string chl;      ///< channel, as the device counts it
    std::string purpose;  ///< what the channel is to be started for
};

namespace KTSStartPlugin
{

/// One line of a channel's status log (request 3101). A field is sent under its own name; where the value on
/// the wire differs from the field, the field says so. The local machine's host name is added by the library.
struct tagRepoChlStatusInfo {
    /// Sent as it is, under its own name.
    /// @{
    std::string PEXAVer;
    std::string action;
    std::string action_desc;
    std::string backup_dir;
    /// Sent as an integer, read as `std::stoi` reads it: white space, a sign, then decimal digits; what
    /// follows them is ignored. " 12abc" is 12, "0x1" is 0. Without a digit there, or beyond the range
    /// of `int`, the report fails before it leaves.
    std::string box;
    std::string cMax;
    std::string chl; ///< counted from 0; read as `box` is, and sent as text, counted from 1
    unsigned int chlType = 0;
    std::string com;
    double current = 0.0;
    unsigned int cycle = 0; ///< counted from 0; sent counted from 1
    std::string deviceId;
    double disch_capacity = 0.0;
    double disch_retention = 0.0;
    std::string dxtm;
    std::string errorParam;
    std::string errorTime;
    std::string spare; ///< carried for the host; never sent
    unsigned int reason = 0;
    std::string reason_desc;
    std::string retentionUnder;
    std::string stepStatus;
    std::string step_state;
    std::string stopTime;
    std::string ver;
    double voltage = 0.0;
    unsigned int wtNumId = 0;
    unsigned int xmNameId = 0;
    std::string dczt;
    std::string deviceModelType;
    std::string deviceRange;
    /// @}
};

/// The state of one incubator (request 3102).
struct tagRepoIncubatorStatus {
    std::string name;         ///< sent as it is, under its own name
    bool status = false;      ///< true: idle, sent as "idle"; false: sent as "busy"
    float temperature = 0.0F; ///< sent as a number, widened to double
};

} // namespace KTSStartPlugin

/// One battery test result (request 3112). Every field is sent under its own name, as text.
struct tagBatteryTestData {
    /// Sent as it is, under its own name.
    /// @{
    std::string siteNo;
    std::string batchNo;
    std::string resourceNo;
    std::string chargingCapacity;
    std::string dischargeCapacity;
    std::string voltage;
    std::string uploadTime;
    /// @}
};

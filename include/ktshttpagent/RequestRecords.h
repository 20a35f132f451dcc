#pragma once

/// @file
/// The records that a host passes with a request to `CUIAgentReq` (CUIAgentReq.h) and
/// `VelCSDK::IVelClientSDk` (IVelClientSDk.h). The records that come back are in ResultRecords.h. What the
/// fields mean to the server is in docs/glossary.md, as far as it is known.
///
/// Hosts allocate these records, and share their memory layout with the library. So no field is added,
/// removed or moved, not even at the end, while the libraries keep their SONAME: a host that was compiled
/// with a shorter record would pass memory that lacks the new field. See docs/compatibility.md. All texts are
/// UTF-8. Numbers are sent without any conversion of units; which units the server expects is not known to
/// this library (docs/glossary.md).
///
/// Ownership and threads: plain values, which belong to the host; a call does not use its record any more
/// after it returns.

#include <string>

/// What a channel-check query asks about (request 3109). Every field is sent under its own name, as a value
/// of the URL's query; the texts are query texts (see `CUIAgentReq`).
struct tagSRequestGetChannelCheckData {
    int wtNumId = 0;      ///< work number
    int xmNameId = 0;     ///< project name
    std::string dxtm;     ///< cell barcode
    std::string deviceId; ///< test device
    std::string chl;      ///< channel, as the device counts it
    std::string purpose;  ///< what the channel is started for
};

namespace KTSStartPlugin
{

/// One line of a channel's status log (request 3101). A field is sent under its own name; if the value on the
/// wire differs from the field, the field's comment says so. The local machine's host name is added by the
/// library.
struct tagRepoChlStatusInfo {
    /// Sent as it is, under its own name.
    /// @{
    std::string PEXAVer;
    std::string action;
    std::string action_desc;
    std::string backup_dir;
    /// Sent as an integer, read as `std::stoi` reads it: optional white space and sign, then decimal digits;
    /// the rest is ignored. " 12abc" is 12, "0x1" is 0. If there is no digit, or the number does not fit an
    /// `int`, the report fails and is not sent.
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
    std::string spare; ///< for the host's own use; never sent
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
    float temperature = 0.0F; ///< sent as a number, widened to double; its unit is not known
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

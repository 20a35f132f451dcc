#pragma once

#include "labserver/LabStore.h"

#include <cstdint>
#include <json/json.h>
#include <optional>
#include <string>

/// A report that came with a key.
struct LabKeyedReport {
    std::string strKey;
    std::string strKind;         ///< as in /lab/reports/KIND
    std::int64_t nFingerprint{}; ///< fingerprint of all that its reply depends on, see FingerprintOf()
};

/// The fingerprint of a report: of its kind, of the field that comes in the query (empty if the kind has
/// none), and of its body, byte for byte. It is the same in every process.
std::int64_t FingerprintOf(const std::string& strKind, const std::string& strInQuery,
                           const std::string& strBody);

/// Looks for a report that was stored with a key, whenever that was, and counts the repeat.
/// @return the id that it was stored under; nothing when the key is new
/// @throws LabError (422) when the key came with another report
std::optional<std::int64_t> CountRepeat(LabTransaction& transaction, const LabKeyedReport& report);

/// Keeps a new key with the report that it came with. @param nId the id that the report is stored under
void KeepKey(LabTransaction& transaction, const LabKeyedReport& report, std::int64_t nId);

/// Adds to listed reports, each an object with its "id", the members "key" and "repeats", if they came with a
/// key.
/// @param reports of one kind, in the order of their ids
void AddKeys(LabStore& store, const std::string& strKind, Json::Value& reports);

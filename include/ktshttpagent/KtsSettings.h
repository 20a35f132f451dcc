#pragma once

/// @file
/// What a program needs to tell its user which settings the library uses: each value in force and its origin,
/// the files or registry keys that are read, names in them and in the environment that nothing reads, and the
/// versions of the libraries. `ktsagent doctor` is made of this. No password is among the values.
///
/// Threads: each function may be called from any thread, but the first call of `KtsSettingsInForce` or
/// `KtsProfiles` makes the `CUIAgentReq` if there is none, so call them on the thread of that object.
/// Ownership: everything is returned as a copy.

#include "KtsExport.h"

#include <string>
#include <vector>

/// A setting and its value in force.
struct SKtsSetting {
    std::string strName;      ///< of the environment variable, or of the value in its profile
    std::string strValue;     ///< the value in force; empty if there is none
    std::string strOrigin;    ///< "built in", "environment", or the profile (a file or a registry key)
    std::string strComplaint; ///< what is wrong with the value that was given; empty if nothing is
    int nType = 0;            ///< the request type id whose endpoint path it is; 0 for other settings
};

/// A name that nothing reads.
struct SKtsUnknownName {
    std::string strName;    ///< as it is written; in a file with its section, "SECTION/NAME"
    std::string strNearest; ///< the name that was probably meant; empty if none resembles it
};

/// A profile of the site: a file, on Windows a registry key.
struct SKtsProfile {
    std::string strLocation; ///< the file, or the key
    bool bExists = false;    ///< whether there is such a file, or a key with values
    std::string strProblem;  ///< why it can't be used; empty if it can, or does not exist
    int nLine = 0;           ///< the line that can't be parsed, counted from 1; 0 if there is none
    std::vector<SKtsUnknownName> vecUnknown; ///< the names in it that nothing reads
};

/// A library and its version.
struct SKtsVersion {
    std::string strLibrary; ///< its name
    std::string strVersion; ///< as the library itself writes it
};

/// All settings: the endpoint paths, TLS, and the environment variables of the library and of the transport
/// and the log that belong to it. A site's own transport or log may use other defaults.
KTSHTTPAGENT_API std::vector<SKtsSetting> KtsSettingsInForce();

/// All profiles, with the names in them that nothing reads.
KTSHTTPAGENT_API std::vector<SKtsProfile> KtsProfiles();

/// The environment variables whose names begin like those of the library, or resemble one, but that nothing
/// reads.
KTSHTTPAGENT_API std::vector<SKtsUnknownName> KtsUnknownVariables();

/// The version of this library, first, and of those that it uses and can tell.
KTSHTTPAGENT_API std::vector<SKtsVersion> KtsVersions();

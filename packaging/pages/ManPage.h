#pragma once

#include "Command.h"

#include <string>

/// What a manual page tells beside the command line.
struct ManPageFacts {
    std::string strVersion;
    std::string strDate;      ///< as in 2026-01-31
    std::string strExample;   ///< lines for a shell
    std::string strSeeAlso;   ///< another page of section 1
    std::string strDocuments; ///< the folder of the documentation
};

/// The manual page of a program, in section 1.
std::string ManPage(const Command& program, const ManPageFacts& facts);

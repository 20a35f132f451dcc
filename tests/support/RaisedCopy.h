#pragma once

#include "LogFolder.h"

#include <string>

/// A copy of a program that runs with raised rights: it has the set-group-id bit and a group other than its
/// caller's. The system then tells its libraries not to trust the environment.
class RaisedCopy
{
public:
    explicit RaisedCopy(const std::string& strProgram);

    const std::string& Program() const { return m_strCopy; }

    /// Why the copy runs with its caller's rights; empty when it has the bit. Even then the system may ignore
    /// the bit: on a file system mounted with nosuid, or for a process that must not gain rights.
    const std::string& WhyNot() const { return m_strWhyNot; }

private:
    const LogFolder m_folder; ///< any temporary folder will do
    const std::string m_strCopy;
    std::string m_strWhyNot;
};

#pragma once

#include "LogFolder.h"

#include <string>

/// A copy of a program that runs with raised rights: it has the set-group-id bit and a group that its caller
/// is not running as. The system then tells its libraries not to trust the environment.
class RaisedCopy
{
public:
    explicit RaisedCopy(const std::string& strProgram);

    const std::string& Program() const { return m_strCopy; }

    /// Why the copy runs as its caller does; empty when it has the bit. Even then the system may pass over
    /// it: on a file system that is mounted so, or for a process that may gain no rights.
    const std::string& WhyNot() const { return m_strWhyNot; }

private:
    const LogFolder m_folder; ///< any temporary folder will do
    const std::string m_strCopy;
    std::string m_strWhyNot;
};

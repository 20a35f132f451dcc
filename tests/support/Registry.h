#pragma once

#include <QStringList>

/// Runs the system's own tool for the registry to its end.
/// @return whether it succeeded
bool RunReg(const QStringList& lstArguments);

#pragma once

#include <QStringList>

/// Runs the system's own registry tool to its end.
/// @return whether it succeeded
bool RunReg(const QStringList& lstArguments);

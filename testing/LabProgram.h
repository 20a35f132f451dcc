#pragma once

#include <QString>

/// Finds the program ktslabserver, as `SKtsLabServerOptions::strProgram` describes it.
/// @param strGiven  the program that the test names; may be empty
/// @param strError  out: what was looked for, and where, if there is none
/// @return empty if there is none
QString FindLabProgram(const QString& strGiven, QString& strError);

#pragma once

#include <ktshttpagent/KtsSettings.h>

#include <QByteArray>

/// The first line of an INI file that Qt can't parse, counted from 1; 0 if there is none.
int FirstBrokenLine(const QByteArray& baText);

/// Checks a profile: whether it can be read, and which names in it nothing reads.
SKtsProfile CheckProfile(const char* szProfile);

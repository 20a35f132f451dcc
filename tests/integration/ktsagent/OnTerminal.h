#pragma once

#include <QStringList>

#include <string>

/// Runs ktsagent to its end, with a terminal as one of its standard streams.
/// @param nStream  the stream's descriptor
/// @return what it wrote there; the terminal puts a CR before each line feed
std::string OnTerminal(const QStringList& lstArguments, int nStream);

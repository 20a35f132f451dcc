#pragma once

#include "Command.h"

#include <string>

/// The script with which bash completes a program's command line; it needs Debian's bash-completion.
std::string BashCompletion(const Command& program);

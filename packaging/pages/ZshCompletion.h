#pragma once

#include "Command.h"

#include <string>

/// The function with which zsh completes a program's command line.
std::string ZshCompletion(const Command& program);

#pragma once

#include <string>

/// Sets a variable of this process's environment, also to an empty value.
/// @param strValue  in UTF-8
void SetVariable(const char* szName, const std::string& strValue);

/// Removes it.
void RemoveVariable(const char* szName);

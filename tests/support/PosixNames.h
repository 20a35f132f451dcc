#pragma once

// What tests use of POSIX and Windows' C library lacks, under the names that it has there. On Windows every
// test is compiled as if it began with this header.

#include <cstdlib>
#include <string>

#include <direct.h>
#include <process.h>

/// Sets a variable for this process, its libraries and the programs that it starts; also to an empty text,
/// which is a value here too.
int setenv(const char* szName, const char* szValue, int nOverwrite);
int setenv(const char* szName, const wchar_t* szValue, int nOverwrite);
int unsetenv(const char* szName);

/// Makes a folder of a new name, for whose last six letters it puts others.
char* mkdtemp(char* szTemplate);

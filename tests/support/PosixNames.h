#pragma once

// POSIX functions that tests use and Windows' C library lacks, under their POSIX names. On Windows every test
// is compiled as if it began with this header.

#include <cstdlib>
#include <string>

#include <direct.h>
#include <process.h>

/// Sets a variable for this process, its libraries and the programs that it starts. An empty text is a value
/// here too.
int setenv(const char* szName, const char* szValue, int nOverwrite);
int setenv(const char* szName, const wchar_t* szValue, int nOverwrite);
int unsetenv(const char* szName);

/// Creates a folder with a new name, made by replacing the last six letters of the template.
char* mkdtemp(char* szTemplate);

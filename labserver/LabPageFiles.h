#pragma once

#include <string_view>
#include <vector>

/// A file of labserver/page, which is part of the program.
struct LabPageFile {
    std::string_view strName;
    const char* szContentType;
    std::string_view strText;
};

/// All of them. The build writes this function.
const std::vector<LabPageFile>& LabPageFiles();

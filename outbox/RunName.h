#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>

namespace outbox
{

/// How many characters the name of a run has.
inline constexpr std::size_t RUN_NAME_LENGTH = 32;

inline bool IsRunName(std::string_view strName)
{
    return strName.size() == RUN_NAME_LENGTH && std::all_of(strName.begin(), strName.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
           });
}

/// A name that no other run has, made from the system's random numbers. It is a part of the key by which a
/// server recognises a report, so nobody can guess it.
inline std::string NewRunName()
{
    std::random_device random;
    std::string strName;
    for (int nPart = 0; nPart < 4; ++nPart) {
        char szPart[9];
        static_cast<void>(std::snprintf(szPart, sizeof szPart, "%08x", static_cast<unsigned>(random())));
        strName += szPart;
    }
    return strName;
}

} // namespace outbox

#pragma once

#include <QString>

#include <array>
#include <string>

/// A value of the site's settings that names an endpoint path.
struct EndpointSetting {
    const char* szProfile; ///< registry key, or file below the settings root
    const char* szName;    ///< value in it
    int nType;             ///< request type id whose path it is; 0 for a value that is read and not used
};

constexpr std::size_t ENDPOINT_SETTING_COUNT = 16;

/// The settings, in the order in which they are read.
extern const std::array<EndpointSetting, ENDPOINT_SETTING_COUNT> ENDPOINT_SETTINGS;

/// The path that each setting gives, in the order of the table, UTF-8, just as it stands there. It is empty
/// where the profile or the value is missing, and for all values of a profile that can't be read or parsed,
/// which is logged.
std::array<std::string, ENDPOINT_SETTING_COUNT> ReadEndpointSettings();

/// The setting in words, for people: its profile and its name.
QString DescribeEndpointSetting(const EndpointSetting& setting);

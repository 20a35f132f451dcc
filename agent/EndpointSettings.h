#pragma once

#include <QString>

#include <array>
#include <string>

/// A value of the site's settings that names an endpoint path.
struct EndpointSetting {
    const char* szProfile; ///< registry key, or file below the settings root
    const char* szName;    ///< value in it
    int nType;             ///< request type id whose path it is; 0 for a value that is read but not used
};

constexpr std::size_t ENDPOINT_SETTING_COUNT = 16;

/// The settings, in the order in which they are read.
extern const std::array<EndpointSetting, ENDPOINT_SETTING_COUNT> ENDPOINT_SETTINGS;

/// The value of each setting, unchanged, in UTF-8 and in the order of the table. It is empty if the profile
/// or the value is missing. If a profile can't be read or parsed, that is logged, and all its values are
/// empty.
std::array<std::string, ENDPOINT_SETTING_COUNT> ReadEndpointSettings();

/// Describes a setting for users: its profile and its name.
QString DescribeEndpointSetting(const EndpointSetting& setting);

#pragma once

#include <json/json.h>
#include <stdexcept>
#include <string>

/// The content type of every reply that no fault replaced.
inline constexpr const char* JSON_CONTENT_TYPE = "application/json; charset=utf-8";

/// A request that can't be fulfilled: the HTTP status to answer with, and a sentence that says why.
class LabError : public std::runtime_error
{
public:
    LabError(int nStatus, const std::string& strWhy) : std::runtime_error(strWhy), m_nStatus(nStatus) {}
    int Status() const { return m_nStatus; }

private:
    int m_nStatus;
};

bool IsUtf8(const std::string& strText);

/// Parses one JSON text in UTF-8 whose root is an object or an array.
/// @throws LabError (400) on anything else, including a text nested too deeply
Json::Value ParseJson(const std::string& strText);

/// The compact text of a value, in UTF-8.
std::string WriteJson(const Json::Value& value);

/// The body of every refusal.
Json::Value ErrorEnvelope(int nStatus, const std::string& strWhy);

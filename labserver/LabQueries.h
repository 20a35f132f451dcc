#pragma once

#include "labserver/LabHandler.h"

// The answers to clients' queries. A parameter that is missing, or is not a number where it should be one, is
// refused with 400; an empty one is accepted.

Json::Value AnswerUserInfo(LabContext& context, const LabRequest& request);   ///< tail: the user's id
Json::Value AnswerSupportVer(LabContext& context, const LabRequest& request); ///< t
Json::Value AnswerProjects(LabContext& context, const LabRequest& request);   ///< dxtm (a comma list), t
Json::Value AnswerBattStatus(LabContext& context, const LabRequest& request); ///< t
Json::Value AnswerAutoExport(LabContext& context, const LabRequest& request); ///< bjtzser, csxmser, dxtm
/// bjtzser, csxmser, supplier, batteryStatus
Json::Value AnswerFtpFilePath(LabContext& context, const LabRequest& request);
/// wtNumId and xmNameId (integers), dxtm, deviceId, chl, purpose
Json::Value AnswerChannelCheckData(LabContext& context, const LabRequest& request);
Json::Value AnswerWhetherInCommon(LabContext& context, const LabRequest& request); ///< dxtm

/// A text parameter of the request's query. @throws LabError (400) when it is missing
std::string QueryText(const LabRequest& request, const std::string& strName);

/// Reads a decimal integer; the text must hold nothing else.
/// @param strName the integer's name, for the refusal
/// @throws LabError (400)
Json::Int64 IntegerOf(const std::string& strText, const std::string& strName);

/// An optional parameter of the request's query that may not be negative.
/// @throws LabError (400)
Json::Int64 CountOf(const LabRequest& request, const char* szName, Json::Int64 nDefault);

#pragma once

#include "labserver/LabHandler.h"

/// Answers GET /lab/reports/NAME.csv with the reports of a kind as a file for a spreadsheet, with the
/// parameters of ListReports().
/// @return false if the request is for something else
bool AnswerReportsCsv(LabContext& context, const std::string& strPath, const httplib::Request& request,
                      httplib::Response& response);

/// Listed reports as a CSV file (RFC 4180) in UTF-8 with a byte order mark. Each element of a report that is
/// a list has a line. A cell at whose beginning a spreadsheet would compute gets an apostrophe before it.
std::string CsvOf(const Json::Value& reports);

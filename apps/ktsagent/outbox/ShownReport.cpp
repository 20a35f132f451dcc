#include "ShownReport.h"

#include "Operations.h"

#include "outbox/Url.h"
#include "platform/text/Escaping.h"

#include <QDateTime>

#include <algorithm>
#include <optional>

namespace
{

/// "2026-11-23T10:00:00.000Z"
std::string TimeText(std::int64_t nMs)
{
    return QDateTime::fromMSecsSinceEpoch(nMs, Qt::UTC).toString(Qt::ISODateWithMs).toStdString();
}

} // namespace

std::int64_t SecondsSince(std::int64_t nMs)
{
    return std::max<std::int64_t>(QDateTime::currentMSecsSinceEpoch() - nMs, 0) / 1000;
}

std::string ShownUrl(const outbox::Report& report)
{
    const std::optional<outbox::Address> optAddress = outbox::ReadAddress(report.strUrl);
    return optAddress ? optAddress->strBare : report.strUrl;
}

std::string LineOf(const outbox::Report& report)
{
    return EscapeUnsafe(report.strKey) + "  " + OperationOf(report.nType) + "  " +
           std::to_string(SecondsSince(report.nStoredMs)) + " s  " + std::to_string(report.strBody.size()) +
           " B  " + EscapeUnsafe(ShownUrl(report));
}

std::string CauseOf(const outbox::DeadLetter& letter)
{
    const std::string strEnding = letter.strEnding.empty() ? "dead" : letter.strEnding;
    if (letter.nEndedMs == 0) {
        return EscapeUnsafe(strEnding) + ", nobody knows why";
    }
    return EscapeUnsafe(strEnding) + " since " + TimeText(letter.nEndedMs) + ": " +
           EscapeUnsafe(letter.strWhy) + " (" + std::to_string(letter.nStatus) + ")";
}

void WriteHead(ValueWriter& writer, const outbox::Report& report)
{
    const auto Text = [&writer](const char* szName, const std::string& strText) {
        writer.Key(szName);
        writer.Text(strText);
    };
    Text("key", report.strKey);
    writer.Key("type");
    writer.Integer(report.nType);
    Text("operation", OperationOf(report.nType));
    Text("url", ShownUrl(report));
    Text("header", report.strHeader);
    Text("stream", report.strStream);
    Text("stored", TimeText(report.nStoredMs));
    writer.Key("seconds");
    writer.Integer(SecondsSince(report.nStoredMs));
    writer.Key("bytes");
    writer.Integer(static_cast<std::int64_t>(report.strBody.size()));
}

void WriteCause(ValueWriter& writer, const outbox::DeadLetter& letter)
{
    writer.Key("ended");
    writer.Text(letter.strEnding);
    writer.Key("why");
    writer.Text(letter.strWhy);
    writer.Key("status");
    writer.Integer(letter.nStatus);
    writer.Key("endedAt");
    letter.nEndedMs == 0 ? writer.Null() : writer.Text(TimeText(letter.nEndedMs));
}

#include "ReplyKind.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QString>

#include <optional>

namespace
{

using Kind = ReplyKind::Kind;

/// A text of the server's, short enough for one sentence.
std::string Short(const QString& strText)
{
    constexpr int MOST = 200;
    return strText.left(MOST).simplified().toStdString();
}

std::string StatusText(const HttpAnswer& answer)
{
    return "status " + std::to_string(answer.nStatus);
}

/// The object of a reply; an array stands for its first element.
std::optional<QJsonObject> ObjectOf(const HttpAnswer& answer)
{
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(answer.strBody));
    if (document.isArray() && document.array().at(0).isObject()) {
        return document.array().at(0).toObject();
    }
    return document.isObject() ? std::make_optional(document.object()) : std::nullopt;
}

bool SaysYes(const QJsonObject& object)
{
    if (object.contains("success")) {
        return object["success"].toVariant().toBool();
    }
    const int nCode = object["code"].toVariant().toInt(); // 0 if there is none
    return nCode == 0 || nCode == 200;
}

ReplyKind OfJson(const HttpAnswer& answer, const QJsonObject& object)
{
    const bool bSuccess = answer.nStatus >= 200 && answer.nStatus <= 299;
    if (bSuccess && SaysYes(object)) {
        return {Kind::Yes, "the server's JSON, with a success", ""};
    }
    QString strWhy;
    for (const char* szMember : {"message", "description", "msg", "error"}) {
        if (strWhy.isEmpty()) {
            strWhy = object[QLatin1String(szMember)].toString();
        }
    }
    const std::string strMessage = strWhy.isEmpty() ? "without a message" : "\"" + Short(strWhy) + '"';
    return {Kind::No, "the server's JSON, which says no (" + StatusText(answer) + "): " + strMessage,
            "Ask who runs the server why it refuses this query."};
}

bool IsPage(const HttpAnswer& answer)
{
    const QString strBody = QString::fromStdString(answer.strBody).trimmed().toLower();
    return QString::fromStdString(answer.Header("content-type")).contains("text/html") ||
           strBody.startsWith("<!doctype html") || strBody.startsWith("<html");
}

ReplyKind OfPage(const HttpAnswer& answer)
{
    const QString strBody = QString::fromStdString(answer.strBody);
    const QRegularExpression title("<title[^>]*>([^<]*)</title>", QRegularExpression::CaseInsensitiveOption);
    const QString strTitle = title.match(strBody).captured(1);
    const bool bLogin =
        strBody.contains("password", Qt::CaseInsensitive) || strBody.contains("login", Qt::CaseInsensitive);
    return {
        Kind::Other,
        (bLogin ? "a login page, not JSON (" : "a web page, not JSON (") + StatusText(answer) +
            (strTitle.isEmpty() ? ")" : ", title \"" + Short(strTitle) + "\")"),
        bLogin
            ? "Something before the server wants users to log in: let this machine through, or correct the "
              "address."
            : "Correct the address or the endpoint path: a web page is not what hosts ask for."};
}

bool IsOfAGateway(const HttpAnswer& answer)
{
    return (answer.nStatus >= 502 && answer.nStatus <= 504) ||
           answer.strBody.find("Bad Gateway") != std::string::npos; // as the library finds it
}

} // namespace

ReplyKind KindOf(const HttpAnswer& answer)
{
    if (IsOfAGateway(answer)) {
        return {Kind::Other, "a gateway's error (" + StatusText(answer) + ")",
                "The gateway runs, but the server behind it does not answer it: start that server."};
    }
    if (answer.nStatus >= 300 && answer.nStatus <= 399) {
        return {Kind::Other,
                "a redirect to \"" + Short(QString::fromStdString(answer.Header("location"))) + "\" (" +
                    StatusText(answer) + "), which is not followed",
                "Use the address that the redirect names."};
    }
    if (const std::optional<QJsonObject> optObject = ObjectOf(answer)) {
        return OfJson(answer, *optObject);
    }
    if (answer.nStatus == 401 || answer.nStatus == 403 || answer.nStatus == 407) {
        return {Kind::Other, "a refusal (" + StatusText(answer) + ")",
                "Let this machine through: the library sends no user name and no password."};
    }
    if (answer.nStatus == 404) {
        return {Kind::Other, "\"not found\" (status 404)",
                "Correct the endpoint path in the site's settings, or the address of the server."};
    }
    if (answer.strBody.empty()) {
        return {Kind::Other, "an empty body (" + StatusText(answer) + ")", "Look into the server's log."};
    }
    if (IsPage(answer)) {
        return OfPage(answer);
    }
    return {Kind::Other, "a body that is not a JSON object (" + StatusText(answer) + ")",
            "Correct the address or the endpoint path, or look into the server's log."};
}

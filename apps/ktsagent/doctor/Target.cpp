#include "Target.h"

#include <QString>
#include <QUrl>

std::string UrlOf(const Context& context, const QueryPath& path)
{
    const std::string strUrl = context.strBaseUrl + context.PathOf(path.nType) + path.strSuffix;
    // Encodes what no URL may contain, as both interfaces do.
    return QUrl(QString::fromStdString(strUrl), QUrl::TolerantMode).toEncoded().toStdString();
}

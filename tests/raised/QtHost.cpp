// A host with raised rights that uses the parts based on Qt. Prints where the first endpoint setting is read
// from, or whether a request was answered.
//
//   raised_qt_host whether|setting
//   raised_qt_host get URL [PORT]          PORT: of a proxy on this machine that the host itself sets in Qt
//   raised_qt_host download URL FILE

#include "EndpointSettings.h"
#include "Whether.h"

#include "net/NAMDownload.h"
#include "net/NAManager.h"

#include <QCoreApplication>
#include <QNetworkProxy>

#include <string>

namespace
{

void PrintEnd(bool bSucc)
{
    std::puts(bSucc ? "answered" : "failed");
    Leave();
}

void Get(const QString& strUrl)
{
    auto* const pManager = new NAManager(nullptr);
    QObject::connect(pManager, &NAManager::signal_reply_finished,
                     [](bool bSucc, const QJsonObject& /*object*/) { PrintEnd(bSucc); });
    pManager->SendRequest(strUrl, {}, NAManager::METHOD_GET);
}

void Download(const QString& strUrl, const QString& strFile)
{
    auto* const pDownload = new NAMDownload(nullptr);
    QObject::connect(pDownload, &NAMDownload::signal_NReply_finished, [](bool bSucc) { PrintEnd(bSucc); });
    pDownload->Start(strUrl, strFile);
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    const QCoreApplication application(nArguments, ppArguments);
    const std::string strWhat = ppArguments[1];
    if (strWhat == "whether") {
        PrintWhether();
    } else if (strWhat == "setting") {
        std::puts(qUtf8Printable(DescribeEndpointSetting(ENDPOINT_SETTINGS.front())));
    } else if (strWhat == "get") {
        if (nArguments > 3) {
            const auto nPort = static_cast<quint16>(std::stoi(ppArguments[3]));
            QNetworkProxy::setApplicationProxy({QNetworkProxy::HttpProxy, "127.0.0.1", nPort});
        }
        Get(ppArguments[2]);
        QCoreApplication::exec();
    } else if (strWhat == "download") {
        Download(ppArguments[2], ppArguments[3]);
        QCoreApplication::exec();
    }
    Leave();
}

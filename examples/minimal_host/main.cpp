#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>

#include <QCoreApplication>
#include <QDebug>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int nPort = QCoreApplication::arguments().value(1, "8080").toInt();
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet, &app,
                     [](bool bSucc, const QString& strVersion) {
                         qInfo() << (bSucc ? "supported:" : "not supported, or no answer:") << strVersion;
                         QCoreApplication::exit(bSucc ? 0 : 1);
                     });
    CUIAgentReq::Instance()->SendGetSupportVer("127.0.0.1", nPort, "1.1.0");
    return QCoreApplication::exec();
}

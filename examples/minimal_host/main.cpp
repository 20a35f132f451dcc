#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>

#include <QCoreApplication>
#include <QDebug>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet, &app,
                     [](bool bSucc, const QString& strTickCount) {
                         qInfo() << (bSucc ? "supported:" : "not supported, or no answer") << strTickCount;
                         QCoreApplication::quit();
                     });
    CUIAgentReq::Instance()->SendGetSupportVer("127.0.0.1", 8080, "1.1.0");
    return app.exec();
}

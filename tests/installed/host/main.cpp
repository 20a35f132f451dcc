// A host that asks one question: host PORT. It ends with 0 if the answer is yes.

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/KtsVersion.h>

#include <QCoreApplication>

#include <cstdlib>
#include <iostream>

#if KTSHTTPAGENT_VERSION_NUMBER < KTSHTTPAGENT_VERSION_OF(0, 2, 0)
#error "these headers are too old"
#endif

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    std::cout << "version " << KtsVersion() << std::endl;
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet, &app,
                     [](bool bSucc, const QString& strTickCount) {
                         std::cout << (bSucc ? "supported: " : "no answer: ") << strTickCount.toStdString()
                                   << std::endl;
                         QCoreApplication::exit(bSucc ? EXIT_SUCCESS : EXIT_FAILURE);
                     });
    CUIAgentReq::Instance()->SendGetSupportVer("127.0.0.1", argc > 1 ? std::atoi(argv[1]) : 0, "1.1.0");
    return app.exec();
}

#include "CommandLine.h"
#include "Exchange.h"

#include "platform/text/Escaping.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#if defined(Q_OS_WIN)
#include <windows.h>
#endif

#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace
{

/// The program's name and its arguments in UTF-8.
std::vector<std::string> GivenArguments([[maybe_unused]] int argc, [[maybe_unused]] char** argv)
{
#if defined(Q_OS_WIN)
    std::vector<std::string> vecGiven; // argv has a code page that may lack some letters
    for (const QString& strArgument : QCoreApplication::arguments()) {
        vecGiven.push_back(strArgument.toStdString());
    }
    return vecGiven;
#else
    return {argv, argv + argc};
#endif
}

QtMessageHandler g_fnPrintMessage = nullptr; ///< Qt's own

/// Prints a log line of the agent or of Qt, escaped because it may contain text from a server.
void PrintMessage(QtMsgType eType, const QMessageLogContext& context, const QString& strMessage)
{
    g_fnPrintMessage(eType, context, QString::fromStdString(EscapeUnsafe(strMessage.toStdString())));
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
#if defined(Q_OS_WIN)
    ::SetConsoleOutputCP(CP_UTF8);
#endif
    g_fnPrintMessage = qInstallMessageHandler(&PrintMessage);
    // The user of a command does not need the agent's debug lines. QT_LOGGING_RULES overrides this.
    QLoggingCategory::setFilterRules("ktshttpagent.reply.debug=false");
    try {
        return RunCommandLine(GivenArguments(argc, argv));
    } catch (const std::exception& e) {
        std::cerr << "ktsagent: " << EscapeUnsafe(e.what()) << std::endl;
        return ExitNo;
    }
}

#include "HostProcess.h"

#include "platform/system/WideText.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <sstream>
#include <thread>

#include <windows.h>

namespace
{

constexpr DWORD PATIENCE_MS = 120'000;

/// Builds a command line that the program's C library splits into the same arguments.
std::wstring CommandLine(const std::string& strProgram, const std::vector<std::string>& vecArguments)
{
    std::string strLine = '"' + strProgram + '"';
    for (const std::string& strArgument : vecArguments) {
        strLine += " \"" + strArgument + '"';
    }
    return WideText(strLine);
}

/// Reads everything from the pipe until its other end closes.
std::string ReadToEnd(HANDLE hPipe)
{
    std::string strText;
    std::array<char, 4096> bytes{};
    DWORD nRead = 0;
    while (::ReadFile(hPipe, bytes.data(), static_cast<DWORD>(bytes.size()), &nRead, nullptr) != 0 &&
           nRead > 0) {
        strText.append(bytes.data(), nRead);
    }
    return strText;
}

std::vector<std::string> Lines(const std::string& strText)
{
    std::vector<std::string> vecLines;
    std::istringstream lines(strText);
    for (std::string strLine; std::getline(lines, strLine);) {
        strLine.erase(strLine.find_last_not_of('\r') + 1);
        vecLines.push_back(strLine);
    }
    return vecLines;
}

} // namespace

Departure Watch(const std::string& strProgram, std::vector<std::string> vecArguments)
{
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    HANDLE hRead = nullptr;
    HANDLE hWrite = nullptr;
    EXPECT_NE(::CreatePipe(&hRead, &hWrite, &inherited, 0), 0);
    ::SetHandleInformation(hRead, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = hWrite;
    startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    const BOOL bStarted = ::CreateProcessW(nullptr, CommandLine(strProgram, vecArguments).data(), nullptr,
                                           nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    ::CloseHandle(hWrite);
    Departure departure;
    EXPECT_NE(bStarted, 0) << strProgram << ": error " << ::GetLastError();
    if (bStarted == 0) {
        ::CloseHandle(hRead);
        return departure;
    }
    std::string strText;
    std::thread reader([&] { strText = ReadToEnd(hRead); });
    departure.bInTime = ::WaitForSingleObject(process.hProcess, PATIENCE_MS) == WAIT_OBJECT_0;
    if (!departure.bInTime) {
        ::TerminateProcess(process.hProcess, 1);
        ::WaitForSingleObject(process.hProcess, INFINITE);
    }
    reader.join();
    DWORD nExit = 0;
    ::GetExitCodeProcess(process.hProcess, &nExit);
    departure.nStatus = static_cast<int>(nExit);
    departure.vecLines = Lines(strText);
    for (const HANDLE handle : {hRead, process.hProcess, process.hThread}) {
        ::CloseHandle(handle);
    }
    return departure;
}

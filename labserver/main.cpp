#include "labserver/DescriptorLimit.h"
#include "labserver/HostAndPort.h"
#include "labserver/LabCommandLine.h"
#include "labserver/LabFile.h"
#include "labserver/LabLogLine.h"
#include "labserver/LabRecording.h"
#include "labserver/LabServer.h"

#include "platform/system/EndSignals.h"
#include "platform/text/Escaping.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <utility>

namespace
{

constexpr int EXIT_USAGE = 2;

/// The content of a file, if there is one; otherwise the name of a scenario.
std::string ScenarioFrom(const std::string& strNameOrFile)
{
    const std::filesystem::file_status status = std::filesystem::status(strNameOrFile);
    const bool bFile = std::filesystem::exists(status) && !std::filesystem::is_directory(status);
    return bFile ? ContentOf(strNameOrFile) : strNameOrFile;
}

void StartScenario(LabServer& server, const std::string& strNameOrFile)
{
    try {
        server.StartScenario(ScenarioFrom(strNameOrFile));
    } catch (const std::exception& error) {
        throw std::runtime_error("--scenario " + strNameOrFile + ": " + error.what());
    }
}

/// Whoever can connect may use the operator's paths, so an address that others can reach is worth a word.
void WarnIfReachable(const std::string& strAddress)
{
    if (strAddress != "localhost" && strAddress != "::1" && strAddress.rfind("127.", 0) != 0) {
        std::cerr << "ktslabserver: there is no log-in: every program that can connect to "
                  << EscapeUnsafe(strAddress) << " may read the data and change the answers" << std::endl;
    }
}

void PrintLine(const LabSeen& seen)
{
    std::cout << LogLineOf(seen) + '\n' << std::flush; // in one piece, since other threads print too
}

/// What is done with each request of a host; empty for nothing.
std::function<void(const LabSeen&)> Witness(const LabCommandLine& line)
{
    if (line.strRecordFile.empty() && !line.bLog) {
        return {};
    }
    std::shared_ptr<LabRecording> pRecording;
    if (!line.strRecordFile.empty()) {
        pRecording = std::make_shared<LabRecording>(line.strRecordFile);
    }
    return [pRecording, bLog = line.bLog](const LabSeen& seen) {
        if (pRecording != nullptr) {
            pRecording->Add(seen);
        }
        if (bLog) {
            PrintLine(seen);
        }
    };
}

int Serve(LabCommandLine line)
{
    line.options.fnSeen = Witness(line);
    const EndSignals ends;
    if (line.bEndsWithInput) {
        ends.CountInputEnd();
    }
    RaiseDescriptorLimit();
    LabServer server(line.options);
    for (const std::string& strScenario : line.vecScenarios) {
        StartScenario(server, strScenario);
    }
    const int nPort = server.Start();
    WarnIfReachable(line.options.strAddress);
    std::cout << "ktslabserver: listening on http" << (server.SpeaksTls() ? "s" : "") << "://"
              << EscapeUnsafe(HostAndPort(line.options.strAddress, nPort)) << '/' << std::endl;
    ends.Wait();
    server.Stop();
    return EXIT_SUCCESS;
}

int ParseAndServe(int nArguments, char** ppArguments)
{
    LabCommandLine line;
    CLI::App app;
    DescribeLabCommandLine(app, line);
    try {
        app.parse(nArguments, ppArguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_SUCCESS : EXIT_USAGE; // asking for help is no error
    }
    return Serve(std::move(line));
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    try {
        return ParseAndServe(nArguments, ppArguments);
    } catch (const std::exception& error) {
        std::cerr << "ktslabserver: " << EscapeUnsafe(error.what()) << '\n';
        return EXIT_FAILURE;
    }
}

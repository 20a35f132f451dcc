#include "labserver/DescriptorLimit.h"
#include "labserver/HostAndPort.h"
#include "labserver/LabCommandLine.h"
#include "labserver/LabServer.h"

#include "platform/system/EndSignals.h"
#include "platform/text/Escaping.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

namespace
{

constexpr int EXIT_USAGE = 2;

int Serve(const LabCommandLine& line)
{
    const EndSignals ends;
    if (line.bEndsWithInput) {
        ends.CountInputEnd();
    }
    RaiseDescriptorLimit();
    LabServer server(line.options);
    const int nPort = server.Start();
    std::cout << "ktslabserver: listening on http://"
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
    return Serve(line);
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

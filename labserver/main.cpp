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

int Serve(const LabServerOptions& options, bool bEndsWithInput)
{
    const EndSignals ends;
    if (bEndsWithInput) {
        ends.CountInputEnd();
    }
    LabServer server(options);
    const int nPort = server.Start();
    std::cout << "ktslabserver: listening on http://" << EscapeUnsafe(HostAndPort(options.strAddress, nPort))
              << '/' << std::endl;
    ends.Wait();
    server.Stop();
    return EXIT_SUCCESS;
}

int ParseAndServe(int nArguments, char** ppArguments)
{
    LabServerOptions options;
<<<<<<< HEAD
    bool bEndsWithInput = false;
    CLI::App app("A stand-in laboratory server. Ends on SIGTERM or SIGINT.", "ktslabserver");
    app.add_option("--port", options.nPort, "Port to listen on; 0 takes a free one and prints it")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--address", options.strAddress, "Address to listen on")
        ->check([](const std::string& strText) {
            return strText.empty() ? std::string("The address must not be empty") : std::string();
        })
        ->capture_default_str();
    app.add_option("--data", options.strDataFile,
                   "SQLite file to keep everything in, for its owner alone; without it, memory");
    app.add_option("--max-connections", options.nMaxConnections,
                   "Connections at a time, a thread and a file descriptor each; one more is answered 503")
        ->check(CLI::Range(1, 10'000))
        ->capture_default_str();
    app.add_flag("--end-with-input", bEndsWithInput,
                 "End also when the standard input ends, for a test that holds the other end of a pipe");
    app.footer("Exit status: 0 after such a signal, 1 when it can't serve, 2 wrong usage.");
    app.failure_message([](const CLI::App* pApp, const CLI::Error& error) {
        return CLI::FailureMessage::simple(
            pApp, CLI::Error(error.get_name(), EscapeUnsafe(error.what()), error.get_exit_code()));
    });
=======
    CLI::App app;
    DescribeLabCommandLine(app, options);
>>>>>>> refs/heads/install
    try {
        app.parse(nArguments, ppArguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_SUCCESS : EXIT_USAGE; // asking for help is no error
    }
    return Serve(options, bEndsWithInput);
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

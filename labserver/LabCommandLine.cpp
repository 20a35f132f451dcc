#include "labserver/LabCommandLine.h"

#include "platform/text/Escaping.h"

#include <CLI/CLI.hpp>
#include <tuple>
#include <utility>

namespace
{

void AddTls(CLI::App& app, LabCommandLine& line)
{
    app.add_option_function<std::pair<std::string, std::string>>(
           "--tls",
           [&line](const std::pair<std::string, std::string>& files) {
               line.options.bTls = true;
               std::tie(line.options.strCertificateFile, line.options.strKeyFile) = files;
           },
           "Serve HTTPS with the certificate in the first file, and those of authorities behind it, and the "
           "key in "
           "the second; both in PEM")
        ->type_name("CERT KEY");
    app.add_flag("--tls-made", line.options.bTls,
                 "Serve HTTPS with a certificate that is made at the start; GET /lab/authority.pem gives the "
                 "one of "
                 "its authority")
        ->excludes("--tls");
}

/// What is done with the requests of hosts.
void AddTraffic(CLI::App& app, LabCommandLine& line)
{
    app.add_option("--record", line.strRecordFile,
                   "New file for each request of a host and what became of it, for --replay")
        ->type_name("FILE");
    app.add_option("--replay", line.options.strReplayFile,
                   "Answer as recorded in this file, instead of storing and looking up")
        ->type_name("FILE")
        ->excludes("--data");
    app.add_flag("--log", line.bLog, "Print a line for each request of a host when it has ended");
}

} // namespace

void DescribeLabCommandLine(CLI::App& app, LabCommandLine& line)
{
    app.name("ktslabserver");
    app.description("A stand-in laboratory server. Ends on SIGTERM or SIGINT.");
    app.add_option("--port", line.options.nPort, "Port to listen on; 0 takes a free one and prints it")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--address", line.options.strAddress, "Address to listen on")
        ->check([](const std::string& strText) {
            return strText.empty() ? std::string("The address must not be empty") : std::string();
        })
        ->capture_default_str();
    app.add_option("--data", line.options.strDataFile,
                   "SQLite file to keep everything in, for its owner alone; without it, memory")
        ->type_name("FILE");
    app.add_option("--max-connections", line.options.nMaxConnections,
                   "Connections at a time, a thread and a file descriptor each; one more is answered 503")
        ->check(CLI::Range(1, 10'000))
        ->capture_default_str();
    app.add_option("--scenario", line.vecScenarios,
                   "Scenario to begin with: one of those that GET /lab/scenarios lists, or a file with one; "
                   "may be given several times")
        ->type_name("NAME|FILE");
    AddTls(app, line);
    AddTraffic(app, line);
    app.add_flag("--end-with-input", line.bEndsWithInput,
                 "End also when the standard input ends, for a test that holds the other end of a pipe");
    app.footer("Exit status: 0 after such a signal, 1 when it can't serve, 2 wrong usage.");
    app.failure_message([](const CLI::App* pApp, const CLI::Error& error) {
        return CLI::FailureMessage::simple(
            pApp, CLI::Error(error.get_name(), EscapeUnsafe(error.what()), error.get_exit_code()));
    });
}

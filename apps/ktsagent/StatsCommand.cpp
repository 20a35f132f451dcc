#include "StatsCommand.h"

#include "Exchange.h"
#include "Operations.h"
#include "StatsFile.h"

#include "platform/text/Escaping.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

namespace
{

/// The library writes the file every 15 seconds.
constexpr std::chrono::seconds LONGEST_AGE{60};

/// A bound of durations for people: "20 ms", "5 s".
std::string Bound(double dSeconds)
{
    if (dSeconds < 0) {
        return "-";
    }
    const long nMilliseconds = std::lround(dSeconds * 1000);
    return nMilliseconds < 1000 ? std::to_string(nMilliseconds) + " ms"
                                : std::to_string(nMilliseconds / 1000) + " s";
}

/// The failures, as "3 timed_out, 1 tls_failed".
std::string Failures(const RequestStats& request)
{
    std::string strFailures;
    for (const auto& [strResult, nCount] : request.mapEnded) {
        if (nCount > 0 && strResult != "succeeded" && strResult != "refused" && strResult != "stored") {
            strFailures +=
                (strFailures.empty() ? "" : ", ") + std::to_string(nCount) + ' ' + EscapeUnsafe(strResult);
        }
    }
    return strFailures.empty() ? "-" : strFailures;
}

std::uint64_t Count(const RequestStats& request, const char* szResult)
{
    const auto found = request.mapEnded.find(szResult);
    return found == request.mapEnded.end() ? 0 : found->second;
}

/// A point in time that the file gives as seconds since the epoch, relative to now.
std::string Ago(double dTimestamp)
{
    if (dTimestamp <= 0) {
        return "never";
    }
    const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
    return std::to_string(std::lround(std::max(now.count() - dTimestamp, 0.0))) + " s ago";
}

void PrintTable(const StatsFile& stats)
{
    std::cout << std::left << std::setw(22) << "operation" << std::setw(14) << "interface" << std::right
              << std::setw(10) << "sent" << std::setw(11) << "succeeded" << std::setw(9) << "refused"
              << std::setw(8) << "stored" << std::setw(10) << "half in" << std::setw(10) << "99 % in"
              << "  failed\n";
    for (const auto& [key, request] : stats.mapRequests) {
        std::cout << std::left << std::setw(22) << OperationOf(key.first) << std::setw(14)
                  << EscapeUnsafe(key.second) << std::right << std::setw(10) << request.nSent << std::setw(11)
                  << Count(request, "succeeded") << std::setw(9) << Count(request, "refused") << std::setw(8)
                  << Count(request, "stored") << std::setw(10) << Bound(request.Within(0.5)) << std::setw(10)
                  << Bound(request.Within(0.99)) << "  " << Failures(request) << "\n";
    }
}

void PrintMoment(StatsFile& stats)
{
    std::cout << "outstanding: " << stats.mapSingle["requests_outstanding"]
              << ", of these waiting for a connection: " << stats.mapSingle["requests_queued"] << "\n"
              << "last success: " << Ago(stats.mapSingle["last_success_timestamp_seconds"])
              << ", last failure or refusal: " << Ago(stats.mapSingle["last_failure_timestamp_seconds"])
              << "\n";
}

/// Prints nothing for a host without an outbox.
void PrintOutbox(StatsFile& stats)
{
    if (stats.mapSingle.count("outbox_waiting") == 0) {
        return;
    }
    std::cout << "outbox: " << stats.mapSingle["outbox_waiting"] << " waiting, the oldest for "
              << stats.mapSingle["outbox_oldest_seconds"] << " s, " << stats.mapSingle["outbox_dead_letters"]
              << " dead letters, " << stats.mapSingle["outbox_bad_pieces"] << " damaged pieces, "
              << stats.mapSingle["outbox_unprotected_total"] << " sent without being stored\n";
    if (stats.mapSingle["outbox_alarm"] != 0) {
        std::cout << "outbox: an address does not take reports; the host's log names it\n";
    }
}

void WarnOfAge(const std::filesystem::path& path)
{
    const auto age = std::filesystem::file_time_type::clock::now() - std::filesystem::last_write_time(path);
    if (age > LONGEST_AGE) {
        std::cout << "The file is " << std::chrono::duration_cast<std::chrono::seconds>(age).count()
                  << " s old: the host that writes it has ended, or can't write it any more.\n";
    }
}

int PrintStats(const std::string& strPath)
{
    const std::filesystem::path path = std::filesystem::u8path(strPath);
    std::ifstream file(path);
    if (!file) {
        std::cerr << "ktsagent: " << EscapeUnsafe(strPath) << " can't be read" << std::endl;
        return ExitNo;
    }
    StatsFile stats = ReadStats(file);
    if (stats.mapSingle.empty()) {
        std::cerr << "ktsagent: " << EscapeUnsafe(strPath)
                  << " holds no figures of a host; KTSHTTPAGENT_METRICS_FILE makes a host write them"
                  << std::endl;
        return ExitNo;
    }
    PrintTable(stats);
    PrintMoment(stats);
    PrintOutbox(stats);
    WarnOfAge(path);
    std::cout << std::flush;
    return ExitSuccess;
}

} // namespace

void AddStatsCommand(CLI::App& app, int& nExit)
{
    CLI::App& command =
        *app.add_subcommand("stats", "The figures that a host writes to KTSHTTPAGENT_METRICS_FILE");
    const auto pPath = std::make_shared<std::string>();
    command.add_option("FILE", *pPath, "the file")->required();
    command.callback([pPath, &nExit] { nExit = PrintStats(*pPath); });
}

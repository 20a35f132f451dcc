// Sends reports around the moment at which the server closes their idle connection, and prints one line of a
// table.
//
//   kts_idle_race IDLE_MS ROUND_TRIP_MS plain|tls ROUNDS
//
// Exit status: 0 no report was lost, 1 one was or came twice, 2 usage or no server.

#include "IdleRace.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

int main(int nArguments, char** ppArguments)
{
    if (nArguments != 5) {
        std::fprintf(stderr, "kts_idle_race IDLE_MS ROUND_TRIP_MS plain|tls ROUNDS\n");
        return 2;
    }
    const RaceTrack track{std::chrono::milliseconds(std::strtol(ppArguments[1], nullptr, 10)),
                          std::chrono::milliseconds(std::strtol(ppArguments[2], nullptr, 10)),
                          std::strcmp(ppArguments[3], "tls") == 0};
    try {
        const RaceResult result = RunIdleRace(track, std::strtoul(ppArguments[4], nullptr, 10));
        std::printf("| %4s | %4s | %5s | %5zu | %8zu | %8zu | %5zu | %11zu | %s |\n", ppArguments[1],
                    ppArguments[2], ppArguments[3], result.nSends, result.Failures(), result.nReceived,
                    result.nReceivedTwice, result.nConnections, result.FailuresInWords().c_str());
        return result.Failures() == 0 && result.nReceivedTwice == 0 ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kts_idle_race: %s\n", error.what());
        return 2;
    }
}

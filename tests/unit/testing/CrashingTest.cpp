// Stands for a host's test that crashes while its lab server runs: prints the server's port, and kills
// itself.

#include <ktshttpagent/testing/KtsLabServer.h>

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    KtsLabServer lab;
    if (!lab.Start()) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(lab.Error()));
        return EXIT_FAILURE;
    }
    std::printf("%d\n", lab.Port());
    std::fflush(stdout);
    return std::raise(SIGKILL);
}

// Stands for a test without a QCoreApplication, as one of GoogleTest may be: starts a lab server that is in
// the search path, and prints its port, or why there is none.

#include <ktshttpagent/testing/KtsLabServer.h>

#include <cstdio>
#include <cstdlib>

int main()
{
    SKtsLabServerOptions options;
    options.strProgram.clear();
    KtsLabServer lab(options);
    if (!lab.Start()) {
        std::printf("%s\n", qUtf8Printable(lab.Error()));
        return EXIT_FAILURE;
    }
    std::printf("%d\n", lab.Port());
    return EXIT_SUCCESS;
}

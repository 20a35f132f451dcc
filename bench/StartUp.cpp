#include "StartUp.h"

#include "Clock.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

StartUpCosts MeasureStartUp(const std::string& strProgram)
{
    const Stopwatch watch;
    // exec, so that the shell becomes the host
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pHost(
        ::popen(("exec '" + strProgram + "'").c_str(), "r"), &::pclose);
    StartUpCosts startUp;
    if (pHost == nullptr || std::fscanf(pHost.get(), "%lf", &startUp.fResidentBytes) != 1) {
        throw std::runtime_error(strProgram + " did not start");
    }
    startUp.fMilliseconds = watch.Milliseconds();
    return startUp;
}

#include "Verbose.h"

#include "ProgressLine.h"
#include "WirePrinter.h"

#include <mutex>

namespace
{

/// Prints what it is told. Never destroyed: exchanges may still end while the process does.
struct Printing {
    bool bOn = false; ///< set before anything is sent
    std::mutex mutex; ///< guards the printer
    WirePrinter printer{&PrintAboveProgress};
};

Printing& ThePrinting()
{
    static auto& printing = *new Printing;
    return printing;
}

void Start()
{
    ThePrinting().bOn = true;
    const bool bBoth =
        KtsSetTrace([](const SKtsTrace& part) { ShowPart(part.ePart, part.strBytes, part.pExchange); });
    if (!bBoth) {
        PrintAboveProgress("* the transport is a site's own, which does not show its exchanges\n");
    }
}

} // namespace

void AddVerboseOption(CLI::App& command)
{
    command.add_flag_callback("-v,--verbose", &Start,
                              "print each exchange on standard error: > what is sent, < what comes back, * "
                              "remarks; reports are shown, passwords are not");
}

bool IsVerbose()
{
    return ThePrinting().bOn;
}

void ShowPart(EKtsTrace ePart, std::string_view strBytes, const void* pExchange)
{
    if (IsVerbose()) {
        const std::lock_guard<std::mutex> lock(ThePrinting().mutex);
        ThePrinting().printer.Take(ePart, strBytes, pExchange);
    }
}

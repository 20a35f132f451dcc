#include <ktshttpagent/KtsVersion.h>

#define TEXT_OF_VALUE(value) #value
#define TEXT_OF(macro) TEXT_OF_VALUE(macro)

const char* KtsVersion() noexcept
{
    return TEXT_OF(KTSHTTPAGENT_VERSION_MAJOR) "." TEXT_OF(KTSHTTPAGENT_VERSION_MINOR) "." TEXT_OF(
        KTSHTTPAGENT_VERSION_PATCH);
}

int KtsVersionNumber() noexcept
{
    return KTSHTTPAGENT_VERSION_NUMBER;
}

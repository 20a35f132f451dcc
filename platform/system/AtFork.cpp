#include "AtFork.h"

#if defined(_WIN32)

bool AtFork(void (* /*pfnBefore*/)(), void (* /*pfnInParent*/)(), void (* /*pfnInChild*/)())
{
    return true;
}

#else

#include <pthread.h>

bool AtFork(void (*pfnBefore)(), void (*pfnInParent)(), void (*pfnInChild)())
{
    return ::pthread_atfork(pfnBefore, pfnInParent, pfnInChild) == 0;
}

#endif

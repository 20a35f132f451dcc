#include "labserver/DescriptorLimit.h"

#if !defined(_WIN32)
#include <sys/resource.h>
#endif

void RaiseDescriptorLimit()
{
#if !defined(_WIN32)
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit); // if it fails, the server just takes fewer connections
    }
#endif
}

// For exiting_host when it is built for the thread sanitizer.
//
// Its servers, and whatever waits or ends the process, run on threads that it never joins, since the end of
// the process is what is tried. That they are left over is no mistake; races are still found.

extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options();

const char* __tsan_default_options()
{
    return "report_thread_leaks=0";
}

// For exiting_host when it is built for the thread sanitizer.
//
// Its servers, and whatever waits for or causes the end of the process, run on threads that are never joined,
// since the end of the process is what is tested. So the sanitizer must not report leaked threads; it still
// finds races.

extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options();

const char* __tsan_default_options()
{
    return "report_thread_leaks=0";
}

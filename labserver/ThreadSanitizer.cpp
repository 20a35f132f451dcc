// For every program with the lab server in it that is built for the thread sanitizer.
//
// Debian's httplib is not built for it. Its functions keep constants in static variables that the first
// caller fills; the sanitizer sees them filled by one thread and read by another, but not the guard between
// the two, and reports a race that isn't one. So what httplib itself does with memory is not looked at. What
// it calls of ours still is.

extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();

const char* __tsan_default_suppressions()
{
    return "called_from_lib:libcpp-httplib.so\n";
}

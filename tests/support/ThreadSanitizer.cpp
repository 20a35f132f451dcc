// For every program with a library that is not built for the thread sanitizer and misleads it.
//
// The sanitizer sees no instructions of such a library, but it sees the library's calls of the C library,
// which allocate, fill and free memory and use pthread locks. It sees only part of what orders these calls,
// since the rest are atomic instructions and system calls of the library itself. So it would report false
// races. For the libraries named here it ignores such calls; it still checks our functions that they call.

extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();

const char* __tsan_default_suppressions()
{
    return
        // Keeps constants in static variables that the first caller initialises; the sanitizer does not see
        // their guards.
        "called_from_lib:libcpp-httplib.so\n"

        // Qt's locks, reference counts and queues are atomic instructions and futex calls.
        // QtForThreadSanitizer.cpp tells the sanitizer how they order our code.
        "called_from_lib:libQt5Core.so\n"
        "called_from_lib:libQt5Network.so\n"
        // Its locks are futex calls too. Here it runs Qt's event loops and nothing else.
        "called_from_lib:libglib-2.0.so\n"
        // Certificates that Qt hands from thread to thread; their owners are counted with atomic
        // instructions.
        "called_from_lib:libcrypto.so\n"
        // Qt's watch over the machine's network connections, which it loads by itself. It has a thread of its
        // own and shares Qt's event queues.
        "called_from_lib:libQt5DBus.so\n"

        // A connection's function object is destroyed by the thread that drops the list holding it, which is
        // ordered by Qt's locks. This names the function that empties the list, so it hides no call of the
        // function object.
        "race:QObjectPrivate::ConnectionData::deleteOrphaned\n"

        // A record in a variant is destroyed by its last owner; Qt counts the owners internally. This names
        // the function by which Qt's type registry destroys a value, so it hides only the accesses of that
        // destruction.
        "race:QtMetaTypePrivate::QMetaTypeFunctionHelper<*>::Destruct\n";
}

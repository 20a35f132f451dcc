// For every program with a library in it that is not built for the thread sanitizer, and misleads it.
//
// The sanitizer sees no instruction of such a library, but the calls of the C library that it makes: memory
// that it takes, fills and gives back, and locks of pthread. Of what orders these it sees only some, since
// the rest are atomic instructions and system calls of the library's own. So it would report races that are
// none. What a library named here does by such calls is not looked at; what it calls of ours still is.

extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();

const char* __tsan_default_suppressions()
{
    return
        // Keeps constants in static variables that the first caller fills; the guard between the two is not
        // seen.
        "called_from_lib:libcpp-httplib.so\n"

        // Qt's locks, reference counts and queues are atomic instructions and futex calls. What they order of
        // ours is told by QtForThreadSanitizer.cpp.
        "called_from_lib:libQt5Core.so\n"
        "called_from_lib:libQt5Network.so\n"
        // Its locks are futex calls too. Here it runs Qt's event loops and nothing else.
        "called_from_lib:libglib-2.0.so\n"
        // Qt's watch over the machine's network connections, which it loads by itself. It has a thread of its
        // own and shares Qt's event queues.
        "called_from_lib:libQt5DBus.so\n"

        // A connection's function object is destroyed by whoever drops the list that it stood in, which is
        // ordered by Qt's locks. This names the function that empties the list, so it hides no call of the
        // function object.
        "race:QObjectPrivate::ConnectionData::deleteOrphaned\n"

        // A record in a variant is destroyed by its last owner, and they are counted inside Qt. This names
        // the function by which Qt's registry of types destroys a value, so it hides no other access than
        // those of that destruction.
        "race:QtMetaTypePrivate::QMetaTypeFunctionHelper<*>::Destruct\n";
}

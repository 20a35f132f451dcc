#pragma once

/// Registers a function of this library that is called when the process ends by exit() or by returning from
/// main, while all threads still run. Those registered last are called first. The library stays loaded from
/// now on.
///
/// Linux: the same as atexit. Windows: static destructors and atexit handlers of a DLL run when every other
/// thread is already gone, and under a lock that a new thread would need; so the function is registered with
/// the C runtimes of the process instead, like the program's own handlers. It is not called when the process
/// is ended by ExitProcess, or when the program is linked statically with its C runtime.
/// @return false when there was no memory for the registration; the function will not be called
bool AtProcessEnd(void (*pfnCall)());

/// Keeps this library loaded until the process ends, whoever unloads it. Does nothing on Linux, where the
/// libraries are linked so that they stay loaded.
void StayLoaded();

/// Whether the process is past the point where its other threads were ended. From then on no thread answers,
/// and a thread that no longer exists may hold a lock for ever. Always false on Linux, where threads run to
/// the end.
bool ThreadsAreGone();

/// Calls a function that would wait for other threads, or for a lock of theirs, unless they are gone.
/// @return what the function returns; where it is not called, false, null or 0, as its type has it
template <class Function>
auto UnlessThreadsAreGone(Function fn)
{
    using Result = decltype(fn());
    return ThreadsAreGone() ? Result() : fn();
}

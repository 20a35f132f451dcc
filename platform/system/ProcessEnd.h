#pragma once

/// Calls a function of this library as the process ends by exit() or by returning from main, while all
/// threads still run. Those registered last are called first. The library stays loaded from now on.
///
/// Linux: what atexit does. Windows: static destructors and atexit handlers of a DLL run when every other
/// thread is gone already, and under a lock that a new thread would need; so the function is put up with the
/// C runtimes of the process instead, as the program's own handlers are. A process that is ended by
/// ExitProcess, or by a program with a C runtime linked into it, runs none of these.
/// @return false when there was no memory for it; the function will not be called
bool AtProcessEnd(void (*pfnCall)());

/// Keeps this library in the process to its end, whoever unloads it. Linux: nothing, its libraries are linked
/// that way.
void StayLoaded();

/// Whether the process is past the point where its threads were ended. From then on nobody answers, and a
/// lock may be held for ever by a thread that is no more. Always false on Linux, where threads run to the
/// end.
bool ThreadsAreGone();

/// Calls a function that would wait for other threads, or for a lock of theirs, unless they are gone.
/// @return what the function returns; where it is not called, false, null or 0, as its type has it
template <class Function>
auto UnlessThreadsAreGone(Function fn)
{
    using Result = decltype(fn());
    return ThreadsAreGone() ? Result() : fn();
}

#pragma once

/// Has functions of this library called around every fork: one before it, one after it in the parent and one
/// after it in the child. On Windows, which knows no fork, none is ever called.
///
/// To be called as the library is loaded, hence from the initialiser of a static object: a fork that is under
/// way already passes by what is registered meanwhile.
/// @return false when there was no memory for it; the functions will not be called
bool AtFork(void (*pfnBefore)(), void (*pfnInParent)(), void (*pfnInChild)());

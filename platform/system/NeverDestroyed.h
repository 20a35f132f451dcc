#pragma once

#include <new>
#include <utility>

/// An object in static storage that lasts as long as the process: nobody destroys it, so that whatever runs
/// while the process ends, static destructors and threads among it, still finds it. What it owns stays
/// reachable, and so is no leak.
///
///     static const NeverDestroyed<AllThreads> threads;
///     return *threads;
///
/// Where the constructor throws, the next one who comes to the definition tries again.
template <class Object>
class NeverDestroyed
{
public:
    template <class... Arguments>
    explicit NeverDestroyed(Arguments&&... arguments)
        : m_pObject(::new (static_cast<void*>(m_bytes)) Object(std::forward<Arguments>(arguments)...))
    {
    }
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    Object& operator*() const { return *m_pObject; }

private:
    alignas(Object) unsigned char m_bytes[sizeof(Object)];
    Object* const m_pObject;
};

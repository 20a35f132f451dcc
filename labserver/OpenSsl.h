#pragma once

#include <memory>
#include <stdexcept>
#include <string>

/// What OpenSSL did not accept or make, and why.
class OpenSslError : public std::runtime_error
{
public:
    /// Takes the reason from this thread's list of OpenSSL's errors, and empties the list.
    explicit OpenSslError(const std::string& strWhat);
};

/// Frees an object of OpenSSL by OpenSSL's function for its type.
template <auto pfnFree>
struct OpenSslFree {
    template <class Object>
    void operator()(Object* pObject) const
    {
        pfnFree(pObject);
    }
};

template <class Object, auto pfnFree>
using OpenSslPointer = std::unique_ptr<Object, OpenSslFree<pfnFree>>;

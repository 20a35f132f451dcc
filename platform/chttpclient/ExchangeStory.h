#pragma once

#include "HttpExchange.h"

#include <string>

namespace chttpclient
{

/// How an exchange went, as one line for people: its request, its outcome and why, and what is known about
/// its connection. It holds no password, and nothing of the request's body.
/// @param bBody  whether it tells how the reply's body begins
std::string StoryOf(const HttpExchange& exchange, bool bBody);

/// Makes the story of an exchange available on the calling thread while this object exists.
class StoryTeller
{
public:
    explicit StoryTeller(const HttpExchange& exchange) noexcept;
    ~StoryTeller();
    StoryTeller(const StoryTeller&) = delete;
    StoryTeller& operator=(const StoryTeller&) = delete;

    /// The story of the innermost object on this thread, valid as long as that exists; null if there is none,
    /// or no memory.
    static const char* Told() noexcept;

    /// The exchange of the innermost object on this thread; null if there is none.
    static const HttpExchange* Exchange() noexcept;

private:
    const HttpExchange& m_exchange;
    std::string m_strStory; ///< empty until it was asked for
    StoryTeller* const m_pOuter;
};

} // namespace chttpclient

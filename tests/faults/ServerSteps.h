#pragma once

#include "ScriptedServer.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <utility>

// What servers do to a request, right and wrong.

inline std::string Repeated(const std::string& strText, std::size_t nTimes)
{
    std::string strAll;
    for (std::size_t nTime = 0; nTime < nTimes; ++nTime) {
        strAll += strText;
    }
    return strAll;
}

inline std::string Chunked(const std::string& strChunks)
{
    return "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + strChunks;
}

/// A reply that announces a body of 100 bytes but holds only its beginning.
inline std::string HalfReply()
{
    return "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf a body";
}

inline ServerStep Step(std::string strReply, ServerStep::Ending ending = ServerStep::Ending::KeepAlive)
{
    ServerStep step;
    step.strReply = std::move(strReply);
    step.ending = ending;
    return step;
}

inline ServerStep ByteByByte(std::string strReply)
{
    ServerStep step = Step(std::move(strReply));
    step.bByteByByte = true;
    return step;
}

inline ServerStep Late(std::chrono::milliseconds delay, std::string strReply)
{
    ServerStep step = Step(std::move(strReply));
    step.delay = delay;
    return step;
}

/// The reply, and then the same bytes for ever, as fast as possible.
inline ServerStep Endless(std::string strReply, const std::string& strEndless)
{
    ServerStep step = Step(std::move(strReply), ServerStep::Ending::Hold);
    step.strEndless = Repeated(strEndless, 1000);
    return step;
}

/// The same, but slowly.
inline ServerStep Drip(std::string strReply, std::string strEndless)
{
    ServerStep step = Step(std::move(strReply), ServerStep::Ending::Hold);
    step.strEndless = std::move(strEndless);
    step.pause = std::chrono::milliseconds(20);
    return step;
}

#include "labserver/LabStream.h"

LabStream::Moved PlainStream::Receive(char* pBytes, std::size_t nSize)
{
    const std::ptrdiff_t nGot = ReceiveBytes(m_nSocket, pBytes, nSize);
    if (nGot < 0) {
        return {0, static_cast<short>(WouldBlock() ? POLLIN : 0)};
    }
    return {static_cast<std::size_t>(nGot), 0};
}

LabStream::Moved PlainStream::Send(const char* pBytes, std::size_t nBytes)
{
    const std::ptrdiff_t nSent = SendBytes(m_nSocket, pBytes, nBytes);
    if (nSent < 0) {
        return {0, static_cast<short>(WouldBlock() ? POLLOUT : 0)};
    }
    return {static_cast<std::size_t>(nSent), 0};
}

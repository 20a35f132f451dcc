#include "RawClient.h"

#include <cerrno>
#include <cstdint>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

RawClient::RawClient(int nPort) : m_nSocket(socket(AF_INET, SOCK_STREAM, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(nPort));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval patience{30, 0};
    setsockopt(m_nSocket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (connect(m_nSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error("can't connect");
    }
}

RawClient::~RawClient()
{
    close(m_nSocket);
}

void RawClient::Send(const std::string& strBytes)
{
    if (send(m_nSocket, strBytes.data(), strBytes.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(strBytes.size())) {
        throw std::runtime_error("can't send");
    }
}

void RawClient::ResetAtItsEnd()
{
    const linger atOnce{1, 0};
    setsockopt(m_nSocket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

std::string RawClient::ReadAll()
{
    std::string strRead;
    while (ReadMore(strRead)) {
    }
    return strRead;
}

std::string RawClient::ReadUntil(const std::string& strEnd)
{
    std::string strRead;
    while ((strRead.size() < strEnd.size() ||
            strRead.compare(strRead.size() - strEnd.size(), strEnd.size(), strEnd) != 0) &&
           ReadMore(strRead)) {
    }
    return strRead;
}

std::string RawClient::ReadPast(const std::string& strText)
{
    std::string strRead;
    while (strRead.find(strText) == std::string::npos && ReadMore(strRead)) {
    }
    return strRead;
}

bool RawClient::ReadMore(std::string& strRead)
{
    char acBytes[4096];
    const ssize_t nGot = recv(m_nSocket, acBytes, sizeof acBytes, 0);
    m_bClosed = nGot == 0;
    m_bReset = nGot < 0 && errno == ECONNRESET;
    if (nGot > 0) {
        strRead.append(acBytes, static_cast<size_t>(nGot));
    }
    return nGot > 0;
}

#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

/// One request as it arrived, and its answer.
struct LabExchange {
    std::string strMethod;
    std::string strTarget; ///< request target as received, including the query
    std::string strBody;
    int nStatus = 0;      ///< 0 when no reply was sent, because of a reset or a silence
    std::string strReply; ///< the whole body, even if a fault let only half of it be sent
};

/// The latest exchanges: at most 10,000, and at most 64 MiB of them. Thread-safe.
class LabExchangeLog
{
public:
    void Add(LabExchange exchange);
    std::vector<LabExchange> All() const; ///< oldest first

private:
    mutable std::mutex m_mutex;
    std::deque<LabExchange> m_lstExchanges;
    std::size_t m_nBytes = 0;
};

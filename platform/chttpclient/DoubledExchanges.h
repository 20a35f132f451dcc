#pragma once

#include "HttpExchange.h"

#include <ktshttpagent/CHttpClientDouble.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace chttpclient
{

/// The exchanges that a test's double answers instead of the network, see `CHttpClientSetDouble`.
///
/// All operations may be called from any thread. The double is called without a lock. It may answer for as
/// long as the process lives, so this must not be destroyed once it had a double.
class DoubledExchanges
{
public:
    using Deliver = std::function<void(ExchangeList exchange)>;

    /// @param fnDeliver  has an exchange delivered that has its outcome
    explicit DoubledExchanges(Deliver fnDeliver) : m_fnDeliver(std::move(fnDeliver)) {}

    /// Sets the double; an empty function for none.
    void Set(CHttpClientDouble fnDouble);

    /// From now on exchanges are taken.
    void Open();

    /// From now on no exchange is taken. Those without an answer are cancelled.
    void Close();

    /// Hands an exchange to the double.
    /// @return false if there is none, or if no exchange is taken; the list is then unchanged
    /// @throws std::bad_alloc when there is no memory for it; the list may then be empty
    bool Take(ExchangeList& exchange);

private:
    class Answer;

    void End(std::uint64_t nExchange, CHttpClientReply reply);
    std::uint64_t Keep(ExchangeList& exchange, std::shared_ptr<const CHttpClientDouble>& pDouble);

    const Deliver m_fnDeliver;
    std::atomic<bool> m_bDoubled = false; ///< spares requests the lock while there is no double
    std::mutex m_mutex;                   ///< guards what follows
    bool m_bOpen = false;
    std::shared_ptr<const CHttpClientDouble> m_pDouble;
    std::uint64_t m_nLast = 0;
    std::map<std::uint64_t, ExchangeList> m_mapOpen; ///< without an answer, in the order of their sending
};

} // namespace chttpclient

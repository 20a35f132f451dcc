#pragma once

#include "TransportTest.h"

#include <deque>
#include <ostream>
#include <tuple>
#include <utility>

/// Whether the connection of a tested exchange is new or has carried exchanges before.
enum class Connection { Fresh, HasServed };

/// Exchanges one after the other, over one connection as long as it lasts.
class TransportInTurn : public TransportTest
{
protected:
    TransportInTurn();

    /// Sets a time so short that any request may time out on a busy machine.
    void SetShortTime(const std::string& strName, long nMilliseconds);

    /// Sends a request.
    /// @return its number
    std::size_t Send(const std::string& strUrl, bool bPost = false, const std::string& strBody = "{}",
                     const std::string& strHeader = "");
    /// Waits for the callback of a request. Requests to one server are answered in their order.
    ReceivedReply AnswerTo(std::size_t nRequest);
    ReceivedReply Exchange(const std::string& strUrl, bool bPost = false, const std::string& strBody = "{}",
                           const std::string& strHeader = "")
    {
        return AnswerTo(Send(strUrl, bPost, strBody, strHeader));
    }

    /// A script that answers all requests of `ServeWell` well, and every other one with the step.
    static ScriptedServer::Script WellBut(ServerStep step);

    /// Makes two good exchanges, the first with an empty reply; repeats them if one timed out that may do so.
    /// @return the number of the connection that the second came over
    std::size_t ServeWell(const ScriptedServer& server);

    /// The number of the connection of each request to the target.
    static std::vector<std::size_t> ConnectionsOf(const ScriptedServer& server, const std::string& strTarget);

    /// Shuts down, and expects that each request has had its one callback.
    void ExpectNoMoreReplies() { RepliesAfterShutdown(m_tokens.size()); }

private:
    std::deque<char> m_tokens; ///< one for each request, its user data
    bool m_bShortTime = false;
};

/// The same with rows, each of which is tested on a fresh connection and on one that has served before.
template <class Row>
class TransportOnEachConnection : public TransportInTurn,
                                  public testing::WithParamInterface<std::tuple<Row, Connection>>
{
protected:
    static const Row& TheRow() { return std::get<0>(TransportOnEachConnection::GetParam()); }
    static bool HasServed()
    {
        return std::get<1>(TransportOnEachConnection::GetParam()) == Connection::HasServed;
    }
    /// On a connection that has served, the tested event happens twice.
    static int Rounds() { return HasServed() ? 2 : 1; }
};

template <class Rows>
auto OnEachConnection(Rows rows)
{
    return testing::Combine(std::move(rows), testing::Values(Connection::Fresh, Connection::HasServed));
}

/// The name of the row, with a suffix if the connection has served before.
struct NameOnEachConnection {
    template <class Row>
    std::string operator()(const testing::TestParamInfo<std::tuple<Row, Connection>>& info) const
    {
        const bool bServed = std::get<1>(info.param) == Connection::HasServed;
        return testing::PrintToString(std::get<0>(info.param)) + (bServed ? "OnAUsedConnection" : "");
    }
};

inline void PrintTo(Connection connection, std::ostream* pOut)
{
    *pOut << (connection == Connection::Fresh ? "a fresh connection" : "a connection that has served");
}

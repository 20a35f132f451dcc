#pragma once

#include <cstddef>

/// The requests in flight: their number and the number of servers over which they are spread evenly. None is
/// answered.
struct Flight {
    std::size_t nRequests = 0;
    std::size_t nServers = 0;
    std::size_t nOnTheWire = 0; ///< requests that reach a server; the others wait for a connection
};

// The resident bytes per request in flight. Every request gets its outcome before the call returns.
// @throws std::runtime_error if one does not
double BytesInFlightOfAgent(const Flight& flight);
double BytesInFlightOfBareLoop(const Flight& flight); ///< with a libcurl handle for each request

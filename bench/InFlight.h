#pragma once

#include <cstddef>

/// What is in flight: so many requests, none of them answered, spread evenly over so many servers.
struct Flight {
    std::size_t nRequests = 0;
    std::size_t nServers = 0;
    std::size_t nOnTheWire = 0; ///< requests that reach a server; the others wait for a connection
};

// Resident bytes that a request in flight costs. Every request gets its outcome before the call returns.
// @throws std::runtime_error when one doesn't
double BytesInFlightOfAgent(const Flight& flight);
double BytesInFlightOfBareLoop(const Flight& flight); ///< a libcurl handle for each request

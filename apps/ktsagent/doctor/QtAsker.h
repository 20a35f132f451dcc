#pragma once

#include "Context.h"
#include "HttpAnswer.h"

#include <QNetworkAccessManager>

#include <chrono>
#include <string>
#include <vector>

/// Sends queries as the blocking interface does, with Qt. Keeps connections between the calls.
class QtAsker
{
public:
    /// @param context  whose settings of the blocking interface it uses; must outlive this
    explicit QtAsker(const Context& context) : m_context(context) {}

    /// Sends a GET for each URL, all at the same time. Runs an event loop.
    /// @param timeout  for all together
    std::vector<HttpAnswer> Ask(const std::vector<std::string>& vecUrls, std::chrono::milliseconds timeout);

private:
    const Context& m_context;
    QNetworkAccessManager m_manager;
};

#pragma once

#include <ktshttpagent/CUIAgentRsp.h>

#include <QMetaMethod>
#include <QVariant>

#include <functional>
#include <string>
#include <utility>
#include <vector>

/// The values of an answer, from a signal or a call: each value with the name of its parameter, in the order
/// of the parameters. The first is always the bool bSucc.
using NamedValues = std::vector<std::pair<std::string, QVariant>>;

/// The signal of `CUIAgentRsp` that answers an operation.
class AnswerSignal
{
public:
    using Receiver = std::function<void(const NamedValues&)>;

    /// For an operation that is never answered.
    AnswerSignal() = default;

    template <class... Arguments>
    AnswerSignal(void (CUIAgentRsp::*pSignal)(Arguments...))
        : m_fnConnect([pSignal](QObject* pContext, Receiver fnReceive) {
              // Queued even if the sender itself emits the signal, that is before the context's thread waits
              // for it.
              QObject::connect(
                  CUIAgentRsp::Instance(), pSignal, pContext,
                  [pSignal, fnReceive](Arguments... arguments) {
                      fnReceive(Named(QMetaMethod::fromSignal(pSignal), {QVariant::fromValue(arguments)...}));
                  },
                  Qt::QueuedConnection);
          })
    {
    }

    /// Whether there is a signal.
    explicit operator bool() const { return static_cast<bool>(m_fnConnect); }

    /// Calls the receiver for every answer, on the thread of `pContext`, until `pContext` is destroyed.
    void Connect(QObject* pContext, Receiver fnReceive) const { m_fnConnect(pContext, std::move(fnReceive)); }

private:
    static NamedValues Named(const QMetaMethod& method, const std::vector<QVariant>& vecValues);

    std::function<void(QObject*, Receiver)> m_fnConnect;
};

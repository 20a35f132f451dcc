#pragma once

#include <ktshttpagent/CUIAgentRsp.h>

#include <QMetaMethod>
#include <QVariant>

#include <functional>
#include <string>
#include <utility>
#include <vector>

/// What the agent handed out, by a signal or by a call: each value with the name of its parameter, in their
/// order. Every answer begins with the truth value bSucc.
using NamedValues = std::vector<std::pair<std::string, QVariant>>;

/// A signal of `CUIAgentRsp` as what an operation is answered by.
class AnswerSignal
{
public:
    using Receiver = std::function<void(const NamedValues&)>;

    /// The answer that never comes.
    AnswerSignal() = default;

    template <class... Arguments>
    AnswerSignal(void (CUIAgentRsp::*pSignal)(Arguments...))
        : m_fnConnect([pSignal](QObject* pContext, Receiver fnReceive) {
              // Queued even where the signal is emitted by the sender itself, before the context's thread has
              // come to wait for it.
              QObject::connect(
                  CUIAgentRsp::Instance(), pSignal, pContext,
                  [pSignal, fnReceive](Arguments... arguments) {
                      fnReceive(Named(QMetaMethod::fromSignal(pSignal), {QVariant::fromValue(arguments)...}));
                  },
                  Qt::QueuedConnection);
          })
    {
    }

    /// Whether there is a signal at all.
    explicit operator bool() const { return static_cast<bool>(m_fnConnect); }

    /// Calls the receiver on the thread of `pContext` with every answer, until `pContext` is destroyed.
    void Connect(QObject* pContext, Receiver fnReceive) const { m_fnConnect(pContext, std::move(fnReceive)); }

private:
    static NamedValues Named(const QMetaMethod& method, const std::vector<QVariant>& vecValues);

    std::function<void(QObject*, Receiver)> m_fnConnect;
};

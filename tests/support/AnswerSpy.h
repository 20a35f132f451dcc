#pragma once

#include <ktshttpagent/CUIAgentRsp.h>

#include <QList>
#include <QObject>
#include <QTest>
#include <QVariant>

#include <cstddef>
#include <vector>

/// Records the answers that a signal of `CUIAgentRsp` brings, each as the list of its arguments. The signal
/// is emitted on a thread of the transport, where a QSignalSpy would write while the test reads; this class
/// records the answers on the thread that created it.
class AnswerSpy
{
public:
    template <class... Arguments>
    explicit AnswerSpy(void (CUIAgentRsp::*fnSignal)(Arguments...))
    {
        QObject::connect(
            CUIAgentRsp::Instance(), fnSignal, &m_context,
            [this](Arguments... arguments) { m_vecAnswers.push_back({QVariant::fromValue(arguments)...}); },
            Qt::QueuedConnection);
    }

    /// Handles events until that many answers have arrived.
    bool Wait(std::size_t nAnswers) const
    {
        constexpr int ENOUGH = 30'000;
        return QTest::qWaitFor([&] { return m_vecAnswers.size() >= nAnswers; }, ENOUGH) &&
               m_vecAnswers.size() == nAnswers;
    }

    const QList<QVariant>& operator[](std::size_t nAnswer) const { return m_vecAnswers.at(nAnswer); }

private:
    QObject m_context;
    std::vector<QList<QVariant>> m_vecAnswers;
};

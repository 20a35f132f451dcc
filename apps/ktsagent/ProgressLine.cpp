#include "ProgressLine.h"

#include "platform/system/Terminal.h"
#include "platform/text/Escaping.h"

#include <cstdio>
#include <iostream>
#include <system_error>
#include <utility>

namespace
{

/// More would be wrapped by a usual terminal, and could then not be erased.
constexpr std::size_t MOST_COLUMNS = 79;

/// What stands in the last line of standard error.
class LastLine
{
public:
    void Show(const std::string& strText)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Erase();
        std::cerr << strText << std::flush;
        m_nShown = strText.size();
    }

    void PrintAbove(const std::string& strLines)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Erase();
        std::cerr << strLines << std::flush;
    }

private:
    void Erase()
    {
        if (m_nShown > 0) {
            std::cerr << '\r' << std::string(m_nShown, ' ') << '\r' << std::flush;
            m_nShown = 0;
        }
    }

    std::mutex m_mutex; ///< guards standard error and the number
    std::size_t m_nShown = 0;
};

LastLine& TheLastLine()
{
    static auto& line = *new LastLine; // never destroyed: exchanges may still end while the process does
    return line;
}

std::string Seconds(std::chrono::milliseconds time)
{
    return std::to_string(std::chrono::ceil<std::chrono::seconds>(time).count()) + " s";
}

} // namespace

ProgressLine::ProgressLine(const std::string& strWhat, std::chrono::milliseconds limit)
    : ProgressLine([strWhat] { return strWhat; }, limit)
{
}

ProgressLine::ProgressLine(std::function<std::string()> fnWhat, std::chrono::milliseconds limit)
    : m_fnWhat(std::move(fnWhat)), m_limit(limit)
{
    if (!IsTerminal(stderr)) {
        return;
    }
    try {
        m_thread = std::thread([this] { Run(); });
    } catch (const std::system_error&) { // then there is no line
    }
}

ProgressLine::~ProgressLine()
{
    if (!m_thread.joinable()) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bStop = true;
    }
    m_condition.notify_one();
    m_thread.join();
    PrintAboveProgress("");
}

void ProgressLine::Run()
{
    const auto tpBegin = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> lock(m_mutex);
    for (std::chrono::seconds waited{1};
         !m_condition.wait_until(lock, tpBegin + waited, [this] { return m_bStop; }); ++waited) {
        const std::string strTimes = Seconds(waited) + " of " + Seconds(m_limit) + " …";
        const std::string strLine = EscapeUnsafe(m_fnWhat()) + ", " + strTimes;
        TheLastLine().Show(strLine.size() <= MOST_COLUMNS ? strLine : strTimes);
    }
}

void PrintAboveProgress(const std::string& strLines)
{
    TheLastLine().PrintAbove(strLines);
}

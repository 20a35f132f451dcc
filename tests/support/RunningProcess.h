#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

/// A program that runs beside the test, with pipes to its input and from its output (Linux only).
class RunningProcess
{
public:
    /// @param vecCommand  the path of the program, and its arguments
    explicit RunningProcess(std::vector<std::string> vecCommand);
    ~RunningProcess(); ///< kills it
    RunningProcess(const RunningProcess&) = delete;
    RunningProcess& operator=(const RunningProcess&) = delete;

    pid_t Id() const { return m_nProcess; }
    void Write(const std::string& strText) const;

    /// Reads until that many bytes have come in all.
    /// @return false if its output has ended before, or nothing has come for two minutes
    bool ReadUntil(std::size_t nBytes);
    /// The same, until a text has come that stands in the output at or behind an offset.
    bool ReadUntil(const std::string& strText, std::size_t nFrom = 0);
    /// Reads for so long, or until the output ends.
    void ReadFor(std::chrono::milliseconds duration);
    /// Writes a line, and reads the next line that the program prints.
    /// @return that line, without its end; empty if none comes
    std::string Ask(const std::string& strLine);

    /// Kills it, and reads what it has printed before.
    void Kill();
    /// Closes its input, reads until its output ends, and waits for its end.
    /// @return the status that waitpid gives
    int Await();

    const std::string& Output() const { return m_strOutput; }
    /// The whole lines that it has printed.
    std::vector<std::string> Lines() const;

private:
    bool ReadMore(std::chrono::milliseconds patience);
    void CloseInput();

    pid_t m_nProcess = 0; ///< 0 when it has ended
    int m_nInput = -1;
    int m_nOutput = -1;
    int m_nStatus = -1;
    std::string m_strOutput;
};

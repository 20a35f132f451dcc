#pragma once

#include <QByteArray>

/// Steps through the lines of an INI file as Qt divides it: a backslash joins two lines, a text in quotes may
/// have several, and a semicolon begins a comment, which counts as a line of its own.
class IniLines
{
public:
    explicit IniLines(QByteArray baText);

    /// Goes to the next line that is not empty.
    /// @return false if there is none
    bool Next();

    /// The line without blanks before it.
    QByteArray Text() const { return m_baText.mid(m_nBegin, m_nEnd - m_nBegin); }
    /// Its number in the file, counted from 1.
    int Number() const { return m_nNumber; }

private:
    void GoToTheEnd();

    const QByteArray m_baText;
    int m_nBegin = 0;
    int m_nEnd = 0;
    int m_nNumber = 0;
};

#include "ValueWriter.h"

#include "platform/text/Escaping.h"

namespace
{

/// The text in quotation marks, which distinguish its escapes from a plain text that looks like them.
std::string Quoted(const std::string& strText)
{
    std::string strInner;
    for (const char c : strText) {
        strInner += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
    }
    return '"' + EscapeUnsafe(strInner) + '"';
}

/// Whether a text is clear without quotation marks: it contains nothing to escape, and no space at either
/// end.
bool IsPlain(const std::string& strText)
{
    return !strText.empty() && strText.front() != ' ' && strText.back() != ' ' &&
           EscapeUnsafe(strText) == strText;
}

} // namespace

ValueWriter::~ValueWriter() = default;

std::string JsonWriter::Result() const
{
    return EscapeUnsafeInJson({m_buffer.GetString(), m_buffer.GetSize()});
}

void TextWriter::Text(const std::string& strText)
{
    Scalar(IsPlain(strText) ? strText : Quoted(strText));
}

void TextWriter::Key(const std::string& strName)
{
    BeginLine();
    m_strLines += strName + ":";
}

void TextWriter::Scalar(const std::string& strText)
{
    BeginValue();
    m_strLines += (m_strLines.empty() ? "" : " ") + strText;
}

void TextWriter::Start(bool bList)
{
    BeginValue();
    m_vecLevels.push_back({bList, true});
}

void TextWriter::End()
{
    if (m_vecLevels.back().bEmpty) {
        m_strLines += " (none)";
    }
    m_vecLevels.pop_back();
}

void TextWriter::BeginValue()
{
    if (m_vecLevels.empty() || !m_vecLevels.back().bList) {
        return;
    }
    BeginLine();
    m_strLines += "-";
}

void TextWriter::BeginLine()
{
    m_vecLevels.back().bEmpty = false;
    if (!m_strLines.empty()) {
        m_strLines += "\n";
    }
    m_strLines.append(2 * (m_vecLevels.size() - 1), ' ');
}

#include "ValueWriter.h"

#include <QString>

#include <algorithm>

namespace
{

std::string JsonText(const std::string& strText)
{
    JsonWriter writer;
    writer.Text(strText);
    return writer.Result();
}

/// Whether a text is clear without quotation marks: no control bytes, no space at an end.
bool IsPlain(const std::string& strText)
{
    return !strText.empty() && strText.front() != ' ' && strText.back() != ' ' &&
           std::none_of(strText.begin(), strText.end(),
                        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

} // namespace

ValueWriter::~ValueWriter() = default;

void JsonWriter::Text(const std::string& strText)
{
    // A reply's texts are bytes as received. The way through QString makes valid UTF-8 of them.
    const QByteArray arrText = QString::fromStdString(strText).toUtf8();
    m_writer.String(arrText.constData(), static_cast<rapidjson::SizeType>(arrText.size()));
}

void TextWriter::Number(double fValue)
{
    JsonWriter writer;
    writer.Number(fValue);
    Scalar(writer.Result());
}

void TextWriter::Text(const std::string& strText)
{
    Scalar(IsPlain(strText) ? strText : JsonText(strText));
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

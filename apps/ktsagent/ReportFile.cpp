#include "ReportFile.h"

#include <QFile>

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <set>
#include <stdexcept>

namespace
{

std::string ReadFile(const std::string& strFile)
{
    QFile file(QString::fromStdString(strFile));
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error(strFile + ": " + file.errorString().toStdString());
    }
    return file.readAll().toStdString();
}

std::string WithoutByteOrderMark(std::string strText)
{
    return strText.rfind("\xEF\xBB\xBF", 0) == 0 ? strText.substr(3) : strText;
}

std::size_t LineNumberAt(const std::string& strText, std::size_t nOffset)
{
    const auto itEnd = strText.begin() + static_cast<std::ptrdiff_t>(std::min(nOffset, strText.size()));
    return 1 + static_cast<std::size_t>(std::count(strText.begin(), itEnd, '\n'));
}

/// The column of an offset, counted in bytes from 1, as compilers count.
std::size_t ColumnOf(const std::string& strText, std::size_t nOffset)
{
    const auto nLineFeed = nOffset == 0 ? std::string::npos : strText.rfind('\n', nOffset - 1);
    return nLineFeed == std::string::npos ? nOffset + 1 : nOffset - nLineFeed;
}

/// Stores the members of a flat JSON object in slots. Returns false to stop the parse at the first member
/// that does not fit.
class SlotFiller : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, SlotFiller>
{
public:
    SlotFiller(const std::vector<FieldSlot>& vecSlots, const rapidjson::MemoryStream& stream)
        : m_vecSlots(vecSlots), m_stream(stream)
    {
    }

    bool StartObject()
    {
        if (m_bInObject) {
            return Default();
        }
        m_bInObject = true;
        return true;
    }
    bool Key(const char* szName, rapidjson::SizeType nLength, bool)
    {
        m_nOffset = m_stream.Tell();
        m_strName.assign(szName, nLength);
        const auto it = std::find_if(m_vecSlots.begin(), m_vecSlots.end(),
                                     [this](const FieldSlot& slot) { return slot.strName == m_strName; });
        if (it == m_vecSlots.end()) {
            return Refuse("is unknown");
        }
        m_pSlot = &*it;
        return m_setSeen.insert(m_strName).second || Refuse("appears a second time");
    }
    bool String(const char* szText, rapidjson::SizeType nLength, bool)
    {
        return Set(true, std::string(szText, nLength));
    }
    bool RawNumber(const char* szText, rapidjson::SizeType nLength, bool)
    {
        return Set(false, std::string(szText, nLength));
    }
    bool EndObject(rapidjson::SizeType) { return true; }
    /// Handles everything that never fits: true, false, null, an array, a nested object, a root that is not
    /// an object.
    bool Default()
    {
        if (m_pSlot != nullptr) {
            return Refuse("must be " + m_pSlot->strExpected);
        }
        m_strTrouble = "the file must hold one object";
        return false;
    }

    /// What is wrong at `Offset`.
    const std::string& Trouble() const { return m_strTrouble; }
    std::size_t Offset() const { return m_nOffset; }

private:
    bool Set(bool bText, const std::string& strText)
    {
        return (m_pSlot != nullptr && m_pSlot->bText == bText && m_pSlot->fnSet(strText)) || Default();
    }
    bool Refuse(const std::string& strWhy)
    {
        m_strTrouble = "field \"" + m_strName + "\" " + strWhy;
        return false;
    }

    const std::vector<FieldSlot>& m_vecSlots;
    const rapidjson::MemoryStream& m_stream;
    bool m_bInObject = false;
    const FieldSlot* m_pSlot = nullptr;
    std::string m_strName;
    std::set<std::string> m_setSeen;
    std::string m_strTrouble;
    std::size_t m_nOffset = 0;
};

} // namespace

void ReadReportFile(const std::string& strFile, const std::vector<FieldSlot>& vecSlots)
{
    const std::string strText = WithoutByteOrderMark(ReadFile(strFile));
    rapidjson::MemoryStream stream(strText.data(), strText.size());
    SlotFiller filler(vecSlots, stream);
    rapidjson::Reader reader;
    // Numbers are parsed as text and converted by the field's own type, so that none is rounded in between.
    constexpr auto PARSE_FLAGS =
        rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseValidateEncodingFlag;
    const auto result = reader.Parse<PARSE_FLAGS>(stream, filler);

    const auto Line = [&](std::size_t nOffset) {
        return strFile + ":" + std::to_string(LineNumberAt(strText, nOffset)) + ":";
    };
    if (result.Code() == rapidjson::kParseErrorTermination) {
        throw std::runtime_error(Line(filler.Offset()) + " " + filler.Trouble());
    }
    // The parser stops at a NUL byte as if the text ended there.
    if (!result.IsError() && stream.Tell() == strText.size()) {
        return;
    }
    const std::size_t nOffset = result.IsError() ? result.Offset() : stream.Tell();
    throw std::runtime_error(Line(nOffset) + std::to_string(ColumnOf(strText, nOffset)) + ": " +
                             (result.IsError() ? rapidjson::GetParseError_En(result.Code()) : "a NUL byte"));
}

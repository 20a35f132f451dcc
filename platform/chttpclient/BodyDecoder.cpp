#include "BodyDecoder.h"

#include <algorithm>
#include <iterator>

namespace chttpclient
{
namespace
{

// Each coding takes a window of 32 KiB, and no server applies more than one.
constexpr std::size_t MAX_CODINGS = 5;

// The most header lines of one name that may name codings. libcurl searches its whole list of header lines
// for each of them, which takes seconds if there are thousands. No server needs more than one or two.
constexpr std::size_t MAX_CODING_LINES = 16;

std::string_view Trimmed(std::string_view strText)
{
    constexpr std::string_view BLANKS = " \t\r\n";
    const std::size_t nBegin = std::min(strText.find_first_not_of(BLANKS), strText.size());
    return strText.substr(nBegin, strText.find_last_not_of(BLANKS) + 1 - nBegin);
}

bool IsOneOf(std::string_view strName, std::initializer_list<std::string_view> names)
{
    return std::any_of(names.begin(), names.end(), [strName](std::string_view strOther) {
        return strName.size() == strOther.size() &&
               curl_strnequal(strName.data(), strOther.data(), strName.size()) != 0;
    });
}

/// For every result except `Refused`.
CURLcode CodeOf(Unpacked eUnpacked)
{
    switch (eUnpacked) {
    case Unpacked::Well:
        return CURLE_OK;
    case Unpacked::NoMemory:
        return CURLE_OUT_OF_MEMORY;
    default:
        return CURLE_BAD_CONTENT_ENCODING;
    }
}

} // namespace

CURLcode BodyDecoder::AddCodingsOf(CURL* pEasy)
{
    for (const char* const szName : {"Content-Encoding", "Transfer-Encoding"}) {
        curl_header* pHeader = nullptr;
        std::size_t nLine = 0;
        while (curl_easy_header(pEasy, szName, nLine++, CURLH_HEADER, -1, &pHeader) == CURLHE_OK) {
            if (pHeader->amount > MAX_CODING_LINES) {
                return CURLE_BAD_CONTENT_ENCODING;
            }
            if (const CURLcode eResult = AddCodings(pHeader->value); eResult != CURLE_OK) {
                return eResult;
            }
        }
    }
    return CURLE_OK;
}

CURLcode BodyDecoder::AddCodings(std::string_view strNames)
{
    CURLcode eResult = CURLE_OK;
    while (eResult == CURLE_OK && !strNames.empty()) {
        const std::size_t nComma = std::min(strNames.find(','), strNames.size());
        eResult = AddCoding(Trimmed(strNames.substr(0, nComma)));
        strNames.remove_prefix(std::min(nComma + 1, strNames.size()));
    }
    return eResult;
}

CURLcode BodyDecoder::AddCoding(std::string_view strName)
{
    if (IsOneOf(strName, {"", "identity", "none", "chunked"})) { // libcurl has put chunks together already
        return CURLE_OK;
    }
    const bool bGzip = IsOneOf(strName, {"gzip", "x-gzip"});
    if ((!bGzip && !IsOneOf(strName, {"deflate"})) || m_lstStages.size() == MAX_CODINGS) {
        return CURLE_BAD_CONTENT_ENCODING;
    }
    m_lstStages.emplace_front(bGzip ? Inflater::Format::Gzip : Inflater::Format::Deflate);
    return CURLE_OK;
}

CURLcode BodyDecoder::Pass(Stages::iterator stage, std::string_view strBytes)
{
    if (stage == m_lstStages.end()) {
        if (strBytes.size() > m_nMaxBytes - m_strBody.size()) {
            return CURLE_FILESIZE_EXCEEDED;
        }
        m_strBody += strBytes;
        return CURLE_OK;
    }
    if (stage->HasTakenTooMuch(m_nMaxBytes)) {
        return CURLE_FILESIZE_EXCEEDED;
    }
    CURLcode eNext = CURLE_OK; // the result of the next stage
    const Unpacked eUnpacked = stage->Write(strBytes, [&](std::string_view strUnpacked) {
        eNext = Pass(std::next(stage), strUnpacked);
        return eNext == CURLE_OK;
    });
    return eUnpacked == Unpacked::Refused ? eNext : CodeOf(eUnpacked);
}

bool BodyDecoder::IsComplete() const
{
    return std::all_of(m_lstStages.begin(), m_lstStages.end(),
                       [](const Inflater& stage) { return stage.IsComplete(); });
}

} // namespace chttpclient

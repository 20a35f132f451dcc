#include "labserver/LabRecording.h"

#include "labserver/LabJson.h"
#include "labserver/LabLatin1.h"
#include "labserver/LabSeenJson.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <stdexcept>
#include <sys/stat.h>

namespace
{

#if defined(_WIN32)
constexpr int NEW_FILE = O_WRONLY | O_CREAT | O_EXCL | O_BINARY | O_NOINHERIT;
#else
constexpr int NEW_FILE = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
#endif

std::FILE* MakeFile(const std::string& strFile)
{
    const int nFile = ::open(strFile.c_str(), NEW_FILE, S_IRUSR | S_IWUSR);
    std::FILE* const pFile = nFile < 0 ? nullptr : ::fdopen(nFile, "wb");
    if (pFile == nullptr) {
        throw std::runtime_error("can't make the recording " + strFile + ": " + std::strerror(errno));
    }
    return pFile;
}

void SetBody(Json::Value& exchange, const std::string& strName, const std::string& strBody)
{
    exchange.removeMember(strName);
    exchange.removeMember(strName + "Cut");
    if (IsUtf8(strBody)) {
        exchange[strName] = strBody;
    } else {
        exchange[strName + "Latin1"] = FromLatin1(strBody);
    }
}

} // namespace

LabRecording::LabRecording(const std::string& strFile) : m_strFile(strFile), m_pFile(MakeFile(strFile)) {}

void LabRecording::Add(const LabSeen& seen)
{
    const std::string strLine = RecordedLine(seen) + '\n';
    const std::lock_guard lock(m_mutex);
    if (m_pFile == nullptr) {
        return;
    }
    const bool bWritten = std::fwrite(strLine.data(), 1, strLine.size(), m_pFile.get()) == strLine.size() &&
                          std::fflush(m_pFile.get()) == 0;
    if (!bWritten) {
        std::cerr << "ktslabserver: the recording " << m_strFile << " ends here: " << std::strerror(errno)
                  << std::endl;
        m_pFile.reset();
    }
}

std::string RecordedLine(const LabSeen& seen)
{
    Json::Value exchange = SeenToJson(seen);
    exchange.removeMember("id"); // which it gets when it is listed
    SetBody(exchange, "requestBody", seen.strRequestBody);
    SetBody(exchange, "replyBody", seen.strReplyBody);
    return WriteJson(exchange);
}

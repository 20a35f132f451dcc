#include "DeadLetter.h"

#include "EndingLine.h"
#include "Folder.h"
#include "RunName.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace outbox
{

namespace
{

constexpr std::size_t MOST_CAUSE_BYTES = 64U << 10U;

std::string WriteCause(const DeadLetterCause& cause)
{
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    const std::string_view strWhy = cause.strWhy.substr(0, MOST_CAUSE_BYTES / 8); // escapes make it longer
    writer.StartObject();
    writer.Key("ended");
    writer.String(WordOf(cause.eEnding));
    writer.Key("why");
    writer.String(strWhy.data(), static_cast<rapidjson::SizeType>(strWhy.size()));
    writer.Key("status");
    writer.Int(cause.nStatus);
    writer.Key("time");
    writer.Int64(cause.nEndedMs);
    writer.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

/// A letter whose last line is missing is one nevertheless.
void ReadCause(std::string_view strLine, DeadLetter& letter)
{
    rapidjson::Document cause;
    cause.Parse<rapidjson::kParseIterativeFlag>(strLine.data(), strLine.size());
    if (cause.HasParseError() || !cause.IsObject()) {
        return;
    }
    const auto Text = [&cause](const char* szName, std::string& strText) {
        const auto it = cause.FindMember(szName);
        if (it != cause.MemberEnd() && it->value.IsString()) {
            strText.assign(it->value.GetString(), it->value.GetStringLength());
        }
    };
    Text("ended", letter.strEnding);
    Text("why", letter.strWhy);
    if (const auto it = cause.FindMember("status"); it != cause.MemberEnd() && it->value.IsInt()) {
        letter.nStatus = it->value.GetInt();
    }
    if (const auto it = cause.FindMember("time"); it != cause.MemberEnd() && it->value.IsInt64()) {
        letter.nEndedMs = it->value.GetInt64();
    }
}

} // namespace

std::string DeadLetterName(const std::string& strRun, std::uint64_t nSequence)
{
    return strRun + "-" + std::to_string(nSequence) + ".rec";
}

std::error_code WriteDeadLetter(Disk& disk, const std::string& strRun, std::uint64_t nSequence,
                                std::string_view strRecord, const DeadLetterCause& cause)
{
    const std::string strFile = std::string(DEAD_FOLDER) + "/" + DeadLetterName(strRun, nSequence);
    static_cast<void>(disk.RemoveFile(strFile)); // an earlier attempt may have been interrupted
    std::error_code error;
    const std::unique_ptr<DiskFile> pFile = disk.Create(strFile, 0, error);
    if (pFile == nullptr) {
        return error;
    }
    error = pFile->Append(std::string(strRecord) + WriteCause(cause));
    if (!error) {
        error = pFile->Sync();
    }
    if (!error) {
        error = disk.SyncFolder(DEAD_FOLDER);
    }
    if (error) {
        static_cast<void>(disk.RemoveFile(strFile));
    }
    return error;
}

std::optional<DeadLetter> ParseDeadLetter(const std::string& strName, std::string_view strBytes)
{
    DeadLetter letter;
    std::size_t nBytes = 0;
    letter.strRun = strName.substr(0, RUN_NAME_LENGTH);
    if (!IsRunName(letter.strRun) ||
        ReadRecord(letter.strRun, strBytes, letter.record, nBytes) != Reading::Whole ||
        strName != DeadLetterName(letter.strRun, letter.record.nSequence)) {
        return std::nullopt;
    }
    ReadCause(strBytes.substr(nBytes, MOST_CAUSE_BYTES), letter);
    return letter;
}

std::optional<DeadLetter> ReadDeadLetter(const Disk& disk, const std::string& strName, std::error_code& error)
{
    const std::unique_ptr<DiskFile> pFile = disk.OpenToRead(std::string(DEAD_FOLDER) + "/" + strName, error);
    std::string strBytes;
    RecordFrame frame;
    if (pFile == nullptr || (error = pFile->Read(0, MOST_FRAME_BYTES, strBytes)) ||
        ReadFrame(strBytes, frame) != Reading::Whole ||
        (error = pFile->Read(0, frame.Bytes() + MOST_CAUSE_BYTES, strBytes))) {
        return std::nullopt;
    }
    return ParseDeadLetter(strName, strBytes);
}

} // namespace outbox

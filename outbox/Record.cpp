#include "Record.h"

#include "Crc32c.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace outbox
{

namespace
{

constexpr std::size_t MOST_HEAD_BYTES = 1U << 20U;

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void WriteText(Writer& writer, const char* szName, const std::string& strText)
{
    writer.Key(szName);
    writer.String(strText.data(), static_cast<rapidjson::SizeType>(strText.size()));
}

std::string WriteHead(std::uint64_t nSequence, const Report& report)
{
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("seq");
    writer.Uint64(nSequence);
    WriteText(writer, "key", report.strKey);
    writer.Key("type");
    writer.Int(report.nType);
    WriteText(writer, "url", report.strUrl);
    WriteText(writer, "header", report.strHeader);
    if (!report.strStream.empty()) {
        WriteText(writer, "stream", report.strStream);
    }
    writer.Key("time");
    writer.Int64(report.nStoredMs);
    writer.EndObject();
    return {buffer.GetString(), buffer.GetSize()};
}

/// The run is part of it, so that a record in the wrong folder is not accepted.
std::uint32_t Checksum(std::string_view strRun, std::string_view strHead, std::string_view strBody)
{
    return Crc32c().Add(strRun).Add("\n").Add(strHead).Add("\n").Add(strBody).Value();
}

bool ReadText(const rapidjson::Value& head, const char* szName, std::string& strText)
{
    const auto it = head.FindMember(szName);
    if (it == head.MemberEnd() || !it->value.IsString()) {
        return false;
    }
    strText.assign(it->value.GetString(), it->value.GetStringLength());
    return true;
}

bool ReadHead(std::string_view strHead, Record& record)
{
    rapidjson::Document head;
    head.Parse<rapidjson::kParseIterativeFlag>(strHead.data(), strHead.size());
    if (head.HasParseError() || !head.IsObject()) {
        return false;
    }
    const auto itSequence = head.FindMember("seq");
    const auto itType = head.FindMember("type");
    const auto itTime = head.FindMember("time");
    if (itSequence == head.MemberEnd() || !itSequence->value.IsUint64() || itType == head.MemberEnd() ||
        !itType->value.IsInt() || itTime == head.MemberEnd() || !itTime->value.IsInt64()) {
        return false;
    }
    record.nSequence = itSequence->value.GetUint64();
    record.report.nType = itType->value.GetInt();
    record.report.nStoredMs = itTime->value.GetInt64();
    record.report.strStream.clear();
    static_cast<void>(ReadText(head, "stream", record.report.strStream));
    return record.nSequence > 0 && ReadText(head, "key", record.report.strKey) &&
           ReadText(head, "url", record.report.strUrl) && ReadText(head, "header", record.report.strHeader);
}

} // namespace

std::string WriteRecord(std::string_view strRun, std::uint64_t nSequence, const Report& report)
{
    const std::string& strBody = report.strBody;
    const std::string strHead = WriteHead(nSequence, report);
    std::string strRecord;
    strRecord.reserve(MOST_FRAME_BYTES + strHead.size() + strBody.size());
    strRecord.append(RECORD_MARK).append(Hex8(Checksum(strRun, strHead, strBody))).append(" ");
    strRecord.append(std::to_string(strHead.size())).append(" ");
    strRecord.append(std::to_string(strBody.size())).append(" ");
    strRecord.append(strHead).append("\n").append(strBody).append("\n");
    return strRecord;
}

Reading ReadFrame(std::string_view bytes, RecordFrame& frame)
{
    LineReader line(bytes);
    Reading eReading = line.Skip(RECORD_MARK);
    if (eReading == Reading::Whole) {
        eReading = line.ReadNumber(frame.nCrc, 16, 8, 8);
    }
    if (eReading == Reading::Whole) {
        eReading = line.ReadNumber(frame.nHead, 10, 1, 9);
    }
    if (eReading == Reading::Whole) {
        eReading = line.ReadNumber(frame.nBody, 10, 1, 9);
    }
    if (eReading != Reading::Whole) {
        return eReading;
    }
    frame.nBegin = line.At();
    return frame.nHead <= MOST_HEAD_BYTES && frame.Bytes() <= MOST_RECORD_BYTES ? Reading::Whole
                                                                                : Reading::None;
}

Reading ReadRecord(std::string_view strRun, std::string_view bytes, Record& record, std::size_t& nBytes)
{
    RecordFrame frame;
    const Reading eReading = ReadFrame(bytes, frame);
    if (eReading != Reading::Whole) {
        return eReading;
    }
    if (frame.Bytes() > bytes.size()) {
        return Reading::Cut;
    }
    const std::string_view strHead = bytes.substr(frame.nBegin, frame.nHead);
    const std::string_view strBody = bytes.substr(frame.nBegin + frame.nHead + 1, frame.nBody);
    if (bytes[frame.nBegin + frame.nHead] != '\n' || bytes[frame.Bytes() - 1] != '\n' ||
        Checksum(strRun, strHead, strBody) != frame.nCrc || !ReadHead(strHead, record)) {
        return Reading::None;
    }
    record.report.strBody = strBody;
    nBytes = frame.Bytes();
    return Reading::Whole;
}

} // namespace outbox

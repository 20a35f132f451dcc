#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <string>
#include <vector>

/// Writes a value piece by piece, in the order in which it is shown.
class ValueWriter
{
public:
    virtual ~ValueWriter();
    virtual void Null() = 0;
    virtual void Bool(bool bValue) = 0;
    virtual void Integer(std::int64_t nValue) = 0;
    /// @param strText  UTF-8; an invalid byte is written as an escape, in JSON as a replacement character
    virtual void Text(const std::string& strText) = 0;
    virtual void StartObject() = 0;
    virtual void Key(const std::string& strName) = 0;
    virtual void EndObject() = 0;
    virtual void StartList() = 0;
    virtual void EndList() = 0;
};

/// Writes JSON on one line. Characters that a terminal would interpret or not show are escaped (see
/// Escaping.h).
class JsonWriter : public ValueWriter
{
public:
    std::string Result() const;
    void Number(double dValue) { m_writer.Double(dValue); }

    void Null() override { m_writer.Null(); }
    void Bool(bool bValue) override { m_writer.Bool(bValue); }
    void Integer(std::int64_t nValue) override { m_writer.Int64(nValue); }
    void Text(const std::string& strText) override
    {
        m_writer.String(strText.data(), static_cast<rapidjson::SizeType>(strText.size()));
    }
    void StartObject() override { m_writer.StartObject(); }
    void Key(const std::string& strName) override { m_writer.Key(strName.c_str()); }
    void EndObject() override { m_writer.EndObject(); }
    void StartList() override { m_writer.StartArray(); }
    void EndList() override { m_writer.EndArray(); }

private:
    rapidjson::StringBuffer m_buffer;
    rapidjson::Writer<rapidjson::StringBuffer> m_writer{m_buffer};
};

/// Writes text for users: a line for each member, a dash before each element of a list.
class TextWriter : public ValueWriter
{
public:
    /// The lines, each with a line feed at its end.
    std::string Result() const { return m_strLines + "\n"; }

    void Null() override { Scalar("(none)"); }
    void Bool(bool bValue) override { Scalar(bValue ? "true" : "false"); }
    void Integer(std::int64_t nValue) override { Scalar(std::to_string(nValue)); }
    void Text(const std::string& strText) override;
    void StartObject() override { Start(false); }
    void Key(const std::string& strName) override;
    void EndObject() override { End(); }
    void StartList() override { Start(true); }
    void EndList() override { End(); }

private:
    struct Level {
        bool bList;
        bool bEmpty;
    };

    void Scalar(const std::string& strText);
    void Start(bool bList);
    void End();
    void BeginValue();
    void BeginLine();

    std::string m_strLines;
    std::vector<Level> m_vecLevels;
};

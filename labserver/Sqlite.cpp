#include "labserver/Sqlite.h"

#include "labserver/LabJson.h"
#include "platform/system/OwnersFile.h"

#include <sqlite3.h>

#include <memory>

namespace
{

/// The name in a form that SQLite takes for a file's name, not for a URI.
std::string FileName(const std::string& strFile)
{
    return strFile.rfind("file:", 0) == 0 ? "./" + strFile : strFile;
}

} // namespace

SqliteError::SqliteError(sqlite3* pDb)
    : std::runtime_error(sqlite3_errmsg(pDb)), m_bBusy(sqlite3_errcode(pDb) == SQLITE_BUSY)
{
}

Sqlite::Sqlite(const std::string& strFile)
{
    // SQLite would let the umask decide who may read the file. The files that it creates beside it get the
    // same mode.
    if (strFile != ":memory:") {
        MakeOwnersFile(strFile);
    }
    if (sqlite3_open(FileName(strFile).c_str(), &m_pDb) == SQLITE_OK) {
        return;
    }
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> pClosed(m_pDb, &sqlite3_close);
    throw SqliteError(m_pDb);
}

Sqlite::~Sqlite()
{
    sqlite3_close(m_pDb);
}

void Sqlite::Execute(const std::string& strSql)
{
    if (sqlite3_exec(m_pDb, strSql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw SqliteError(m_pDb);
    }
}

std::int64_t Sqlite::LastRowId() const
{
    return sqlite3_last_insert_rowid(m_pDb);
}

SqliteStatement::SqliteStatement(Sqlite& db, const std::string& strSql,
                                 const std::vector<Json::Value>& vecBound)
    : m_pDb(db.Handle())
{
    if (sqlite3_prepare_v2(m_pDb, strSql.c_str(), -1, &m_pStatement, nullptr) != SQLITE_OK) {
        throw SqliteError(m_pDb);
    }
    int nParameter = 0;
    for (const Json::Value& value : vecBound) {
        Bind(++nParameter, value);
    }
}

SqliteStatement::~SqliteStatement()
{
    sqlite3_finalize(m_pStatement);
}

bool SqliteStatement::Step()
{
    const int nResult = sqlite3_step(m_pStatement);
    if (nResult != SQLITE_ROW && nResult != SQLITE_DONE) {
        throw SqliteError(m_pDb);
    }
    return nResult == SQLITE_ROW;
}

Json::Value SqliteStatement::Column(int nColumn, LabType eType) const
{
    switch (eType) {
    case LabType::Integer:
        return Json::Int64{sqlite3_column_int64(m_pStatement, nColumn)};
    case LabType::Number:
        return sqlite3_column_double(m_pStatement, nColumn);
    case LabType::Flag:
        return sqlite3_column_int(m_pStatement, nColumn) != 0;
    case LabType::Text:
    case LabType::Tree:
        break;
    }
    const auto* const pText = reinterpret_cast<const char*>(sqlite3_column_text(m_pStatement, nColumn));
    const auto nSize = static_cast<size_t>(sqlite3_column_bytes(m_pStatement, nColumn));
    const std::string strText = pText != nullptr ? std::string(pText, nSize) : std::string();
    return eType == LabType::Tree ? ParseJson(strText) : Json::Value(strText);
}

void SqliteStatement::Bind(int nParameter, const Json::Value& value)
{
    if (value.isBool()) {
        sqlite3_bind_int(m_pStatement, nParameter, value.asBool() ? 1 : 0);
    } else if (value.isInt64()) {
        sqlite3_bind_int64(m_pStatement, nParameter, value.asInt64());
    } else if (value.isNumeric()) {
        sqlite3_bind_double(m_pStatement, nParameter, value.asDouble());
    } else {
        const std::string strText = value.isString() ? value.asString() : WriteJson(value);
        sqlite3_bind_text64(m_pStatement, nParameter, strText.data(), strText.size(), SQLITE_TRANSIENT,
                            SQLITE_UTF8);
    }
}

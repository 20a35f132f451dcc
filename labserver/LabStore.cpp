#include "labserver/LabStore.h"

#include "labserver/LabSeed.h"
#include "labserver/LabTables.h"
#include "platform/system/OwnersFile.h"

#include <chrono>
#include <thread>

namespace
{

/// Stored in the file itself; incremented when a table changes.
constexpr int SCHEMA_VERSION = 2;
/// Files of this version lack the keys of reports, and are otherwise the same.
constexpr int VERSION_WITHOUT_KEYS = 1;

/// How long to wait for other servers that use the same file.
constexpr std::chrono::milliseconds BUSY_PATIENCE{5000};
constexpr std::chrono::milliseconds BUSY_PAUSE{10};

const char* ColumnType(LabType eType)
{
    switch (eType) {
    case LabType::Integer:
    case LabType::Flag:
        return "INTEGER";
    case LabType::Number:
        return "REAL";
    case LabType::Text:
    case LabType::Tree:
        break;
    }
    return "TEXT";
}

std::string Quoted(const std::string& strName)
{
    return '"' + strName + '"';
}

std::string CreateTableSql(const LabTable& table)
{
    std::string strSql = "CREATE TABLE " + Quoted(table.szName) +
                         " (row_id INTEGER PRIMARY KEY AUTOINCREMENT,"
                         " received_at TEXT NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%fZ', 'now'))";
    for (const LabField& field : table.vecFields) {
        strSql += ", " + Quoted(field.szName) + ' ' + ColumnType(field.eType) + " NOT NULL";
    }
    if (table.szUnique != nullptr) {
        strSql += std::string(", UNIQUE (") + table.szUnique + ')' +
                  (table.bFirstStays ? "" : " ON CONFLICT REPLACE");
    }
    return strSql + ')';
}

void CreateTable(Sqlite& db, const LabTable& table)
{
    db.Execute(CreateTableSql(table));
    if (table.szIndex != nullptr) {
        db.Execute("CREATE INDEX " + Quoted(table.szName + std::string("_index")) + " ON " +
                   Quoted(table.szName) + " (" + table.szIndex + ')');
    }
}

/// The table's columns, separated by commas.
std::string ColumnList(const LabTable& table)
{
    std::string strList;
    for (const LabField& field : table.vecFields) {
        strList += (strList.empty() ? "" : ", ") + Quoted(field.szName);
    }
    return strList;
}

int SchemaVersionOf(Sqlite& db)
{
    SqliteStatement query(db, "PRAGMA user_version");
    query.Step();
    return query.Column(0, LabType::Integer).asInt();
}

std::vector<LabRow> SelectRows(Sqlite& db, const LabTable& table, const std::string& strRest,
                               const std::vector<Json::Value>& vecBound)
{
    SqliteStatement query(db,
                          "SELECT row_id, received_at, " + ColumnList(table) + " FROM " +
                              Quoted(table.szName) + ' ' + strRest,
                          vecBound);
    std::vector<LabRow> vecRows;
    while (query.Step()) {
        LabRow row{query.Column(0, LabType::Integer).asInt64(), query.Column(1, LabType::Text).asString(),
                   Json::Value(Json::objectValue)};
        int nColumn = 2;
        for (const LabField& field : table.vecFields) {
            row.members[field.szName] = query.Column(nColumn++, field.eType);
        }
        vecRows.push_back(std::move(row));
    }
    return vecRows;
}

/// If two servers do this with a new file at the same moment, SQLite makes one fail instead of waiting.
void TurnOnWal(Sqlite& db)
{
    for (const auto end = std::chrono::steady_clock::now() + BUSY_PATIENCE;;) {
        try {
            db.Execute("PRAGMA journal_mode = WAL");
            return;
        } catch (const SqliteError& error) {
            if (!error.IsBusy() || std::chrono::steady_clock::now() > end) {
                throw;
            }
        }
        std::this_thread::sleep_for(BUSY_PAUSE);
    }
}

} // namespace

LabStore::LabStore(const std::string& strFile) : m_db(strFile.empty() ? ":memory:" : strFile)
{
    Prepare();
    // Only now is the file known to be ours.
    for (const char* szBeside : {"", "-wal", "-shm", "-journal"}) {
        if (!strFile.empty()) {
            KeepToOwner(strFile + szBeside);
        }
    }
}

void LabStore::Prepare()
{
    m_db.Execute("PRAGMA busy_timeout = " + std::to_string(BUSY_PATIENCE.count()));
    TurnOnWal(m_db);
    LabTransaction fresh(*this);
    const int nVersion = SchemaVersionOf(m_db);
    if (nVersion == SCHEMA_VERSION) {
        return;
    }
    if (nVersion == VERSION_WITHOUT_KEYS) {
        CreateTable(m_db, labtables::REPORT_KEYS);
    } else if (nVersion == 0) {
        for (const LabTable* pTable : labtables::All()) {
            CreateTable(m_db, *pTable);
        }
        ForEachSeedRow([&fresh](const LabTable& table, const Json::Value& row) { fresh.Insert(table, row); });
    } else {
        throw std::runtime_error("it is of another version of this server");
    }
    m_db.Execute("PRAGMA user_version = " + std::to_string(SCHEMA_VERSION));
    fresh.Commit();
}

std::vector<LabRow> LabStore::Select(const LabTable& table, const std::string& strRest,
                                     const std::vector<Json::Value>& vecBound)
{
    const std::lock_guard lock(m_mutex);
    return SelectRows(m_db, table, strRest, vecBound);
}

std::int64_t LabStore::Count(const LabTable& table)
{
    const std::lock_guard lock(m_mutex);
    SqliteStatement query(m_db, "SELECT count(*) FROM " + Quoted(table.szName));
    query.Step();
    return query.Column(0, LabType::Integer).asInt64();
}

LabTransaction::LabTransaction(LabStore& store) : m_lock(store.m_mutex), m_db(store.m_db)
{
    m_db.Execute("BEGIN IMMEDIATE");
}

LabTransaction::~LabTransaction()
{
    if (m_bCommitted) {
        return;
    }
    try {
        m_db.Execute("ROLLBACK");
    } catch (const SqliteError&) {
        // After some failures SQLite has already rolled back, and reports that as an error: nothing is left
        // to do.
    }
}

std::int64_t LabTransaction::Insert(const LabTable& table, const Json::Value& row)
{
    std::vector<Json::Value> vecBound;
    std::string strMarks;
    for (const LabField& field : table.vecFields) {
        vecBound.push_back(row[field.szName]);
        strMarks += strMarks.empty() ? "?" : ", ?";
    }
    SqliteStatement(m_db,
                    "INSERT INTO " + Quoted(table.szName) + " (" + ColumnList(table) + ") VALUES (" +
                        strMarks + ')',
                    vecBound)
        .Step();
    return m_db.LastRowId();
}

void LabTransaction::Update(const LabTable& table, std::int64_t nId, const char* szField,
                            const Json::Value& value)
{
    SqliteStatement(m_db,
                    "UPDATE " + Quoted(table.szName) + " SET " + Quoted(szField) + " = ? WHERE row_id = ?",
                    {value, Json::Int64{nId}})
        .Step();
}

bool LabTransaction::Remove(const LabTable& table, std::int64_t nId)
{
    SqliteStatement statement(m_db,
                              "DELETE FROM " + Quoted(table.szName) + " WHERE row_id = ? RETURNING row_id",
                              {Json::Int64{nId}});
    return statement.Step();
}

std::vector<LabRow> LabTransaction::Select(const LabTable& table, const std::string& strRest,
                                           const std::vector<Json::Value>& vecBound)
{
    return SelectRows(m_db, table, strRest, vecBound);
}

void LabTransaction::Commit()
{
    m_db.Execute("COMMIT");
    m_bCommitted = true;
}

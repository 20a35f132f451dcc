#pragma once

#include "labserver/LabTable.h"

#include <cstdint>
#include <json/json.h>
#include <stdexcept>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

/// A failure of SQLite, with its own message.
class SqliteError : public std::runtime_error
{
public:
    explicit SqliteError(sqlite3* pDb);

    /// Whether another connection held a lock on the database.
    bool IsBusy() const { return m_bBusy; }

private:
    bool m_bBusy;
};

/// A connection to one SQLite database. For one thread at a time.
class Sqlite
{
public:
    /// @param strFile created for its owner alone if it is missing; ":memory:" for no file
    /// @throws std::runtime_error
    explicit Sqlite(const std::string& strFile);
    ~Sqlite();
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;

    /// Runs a statement that has no result and no parameters. @throws SqliteError
    void Execute(const std::string& strSql);

    std::int64_t LastRowId() const;
    sqlite3* Handle() const { return m_pDb; }

private:
    sqlite3* m_pDb = nullptr;
};

/// One prepared statement, to be stepped through once.
class SqliteStatement
{
public:
    /// @param vecBound values of the parameters in order: texts, integers, numbers, true or false; trees are
    ///                 bound as their JSON text
    /// @throws SqliteError
    SqliteStatement(Sqlite& db, const std::string& strSql, const std::vector<Json::Value>& vecBound = {});
    ~SqliteStatement();
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    /// Runs on to the next row of the result. @return whether there is one @throws SqliteError
    bool Step();

    /// A column of the present row, read as the type that it was bound as.
    Json::Value Column(int nColumn, LabType eType) const;

private:
    void Bind(int nParameter, const Json::Value& value);

    sqlite3* m_pDb;
    sqlite3_stmt* m_pStatement = nullptr;
};

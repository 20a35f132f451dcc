#pragma once

#include "labserver/LabTable.h"
#include "labserver/Sqlite.h"

#include <cstdint>
#include <json/json.h>
#include <mutex>
#include <string>
#include <vector>

/// A row as it is stored.
struct LabRow {
    std::int64_t nId;          ///< higher than that of every row stored before it
    std::string strReceivedAt; ///< UTC, as 2024-05-31T08:15:30.123Z
    Json::Value members;       ///< an object with the table's fields
};

/// The lab server's data, in SQLite. Thread-safe.
class LabStore
{
public:
    /// Opens the store; a new one gets its tables and the seed data, and one of an earlier version the tables
    /// that it lacks. From then on, only its owner can access
    /// the file and those that SQLite creates beside it, whatever their modes were before.
    /// @param strFile empty keeps everything in memory
    /// @throws std::runtime_error when the file can't be opened, is a symbolic link, holds something else or
    /// can't be kept from other users
    explicit LabStore(const std::string& strFile);

    /// Rows of a table.
    /// @param strRest what follows the table in the SQL query, with vecBound for its parameters
    /// @throws SqliteError
    std::vector<LabRow> Select(const LabTable& table, const std::string& strRest = "ORDER BY row_id",
                               const std::vector<Json::Value>& vecBound = {});

    /// How many rows a table has. @throws SqliteError
    std::int64_t Count(const LabTable& table);

private:
    friend class LabTransaction;

    void Prepare();

    std::mutex m_mutex;
    Sqlite m_db;
};

/// Changes to the store that are kept together or not at all. While the object exists, all others wait for
/// the store.
class LabTransaction
{
public:
    explicit LabTransaction(LabStore& store); ///< @throws SqliteError
    ~LabTransaction();                        ///< undoes everything that is not committed
    LabTransaction(const LabTransaction&) = delete;
    LabTransaction& operator=(const LabTransaction&) = delete;

    /// Adds a row that RequireRow() accepts. @return its id @throws SqliteError
    std::int64_t Insert(const LabTable& table, const Json::Value& row);

    /// Changes one field of a row. @throws SqliteError
    void Update(const LabTable& table, std::int64_t nId, const char* szField, const Json::Value& value);

    /// @return false if there is no such row @throws SqliteError
    bool Remove(const LabTable& table, std::int64_t nId);

    /// Rows as LabStore::Select() returns them, with the changes made so far. @throws SqliteError
    std::vector<LabRow> Select(const LabTable& table, const std::string& strRest,
                               const std::vector<Json::Value>& vecBound);

    /// Makes the changes permanent. @throws SqliteError when they are not kept
    void Commit();

private:
    std::lock_guard<std::mutex> m_lock;
    Sqlite& m_db;
    bool m_bCommitted = false;
};

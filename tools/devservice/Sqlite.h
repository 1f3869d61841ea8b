#pragma once
// A thin owner of one SQLite connection: statements with bound parameters, rows read as text.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

struct sqlite3;

namespace devservice {

class SqliteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

using SqlParam = std::variant<std::nullptr_t, std::int64_t, std::string>;
using SqlRow = std::vector<std::string>; // NULL reads as ""

class Sqlite {
public:
    /// Opens (creating) the file. WAL and a busy timeout let the admin commands write while the
    /// server holds the same file open.
    explicit Sqlite(const std::string& path);
    ~Sqlite();
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;

    /// Runs one or more statements without parameters.
    void script(std::string_view sql);
    /// Runs one statement and returns every row it yields.
    std::vector<SqlRow> query(std::string_view sql, const std::vector<SqlParam>& params = {});
    /// Runs one statement; returns the number of rows it changed.
    int run(std::string_view sql, const std::vector<SqlParam>& params = {});
    std::int64_t lastInsertId() const;

private:
    sqlite3* m_db = nullptr;
};

/// BEGIN IMMEDIATE … COMMIT; rolls back when left without commit(). Immediate so that two
/// writers (server and an admin command) queue on the busy timeout instead of failing on upgrade.
class SqlTransaction {
public:
    explicit SqlTransaction(Sqlite& db);
    ~SqlTransaction();
    SqlTransaction(const SqlTransaction&) = delete;
    SqlTransaction& operator=(const SqlTransaction&) = delete;
    void commit();

private:
    Sqlite& m_db;
    bool m_done = false;
};

} // namespace devservice

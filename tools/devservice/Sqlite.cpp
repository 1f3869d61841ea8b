#include "tools/devservice/Sqlite.h"

#include <sqlite3.h>

#include <memory>

namespace devservice {

namespace {

constexpr int busyTimeoutMs = 10000;

struct StatementCloser {
    void operator()(sqlite3_stmt* s) const { sqlite3_finalize(s); }
};
using Statement = std::unique_ptr<sqlite3_stmt, StatementCloser>;

[[noreturn]] void fail(sqlite3* db, std::string_view what) {
    throw SqliteError(std::string(what) + ": " + sqlite3_errmsg(db));
}

Statement prepare(sqlite3* db, std::string_view sql, const std::vector<SqlParam>& params) {
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(db, sql.data(), static_cast<int>(sql.size()), &raw, nullptr) != SQLITE_OK)
        fail(db, "prepare");
    Statement stmt(raw);
    int index = 1;
    for (const auto& param : params) {
        int rc = SQLITE_OK;
        if (const auto* i = std::get_if<std::int64_t>(&param))
            rc = sqlite3_bind_int64(raw, index, *i);
        else if (const auto* s = std::get_if<std::string>(&param))
            // Explicit length: values are stored byte for byte, NUL bytes included.
            rc = sqlite3_bind_text64(raw, index, s->data(), s->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
        else
            rc = sqlite3_bind_null(raw, index);
        if (rc != SQLITE_OK)
            fail(db, "bind");
        ++index;
    }
    return stmt;
}

} // namespace

Sqlite::Sqlite(const std::string& path) {
    if (sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX,
                        nullptr) != SQLITE_OK) {
        const std::string message = m_db ? sqlite3_errmsg(m_db) : "out of memory";
        sqlite3_close(m_db);
        throw SqliteError("cannot open " + path + ": " + message);
    }
    sqlite3_busy_timeout(m_db, busyTimeoutMs);
    // A write-ahead log synced at checkpoints only: every request is logged, and a disk sync per
    // request made each answer wait tens of milliseconds. A crash of the machine may lose the last
    // requests, which a test service can afford.
    script("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON;");
}

Sqlite::~Sqlite() {
    sqlite3_close(m_db);
}

void Sqlite::script(std::string_view sql) {
    const std::string text(sql);
    char* error = nullptr;
    if (sqlite3_exec(m_db, text.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        const std::string message = error ? error : "unknown error";
        sqlite3_free(error);
        throw SqliteError(message);
    }
}

std::vector<SqlRow> Sqlite::query(std::string_view sql, const std::vector<SqlParam>& params) {
    auto stmt = prepare(m_db, sql, params);
    std::vector<SqlRow> rows;
    for (;;) {
        const int rc = sqlite3_step(stmt.get());
        if (rc == SQLITE_DONE)
            return rows;
        if (rc != SQLITE_ROW)
            fail(m_db, "step");
        SqlRow row;
        const int columns = sqlite3_column_count(stmt.get());
        for (int c = 0; c < columns; ++c) {
            const auto* text = sqlite3_column_text(stmt.get(), c);
            const int bytes = sqlite3_column_bytes(stmt.get(), c);
            row.emplace_back(text ? std::string(reinterpret_cast<const char*>(text), static_cast<std::size_t>(bytes))
                                  : std::string());
        }
        rows.push_back(std::move(row));
    }
}

int Sqlite::run(std::string_view sql, const std::vector<SqlParam>& params) {
    query(sql, params);
    return sqlite3_changes(m_db);
}

std::int64_t Sqlite::lastInsertId() const {
    return sqlite3_last_insert_rowid(m_db);
}

SqlTransaction::SqlTransaction(Sqlite& db) : m_db(db) {
    m_db.script("BEGIN IMMEDIATE");
}

SqlTransaction::~SqlTransaction() {
    if (!m_done) {
        try {
            m_db.script("ROLLBACK");
        } catch (const SqliteError&) {
            // Nothing to undo when the failure already ended the transaction.
        }
    }
}

void SqlTransaction::commit() {
    m_db.script("COMMIT");
    m_done = true;
}

} // namespace devservice

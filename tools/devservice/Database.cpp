#include "tools/devservice/Database.h"

namespace devservice {

namespace {

constexpr const char* schema = R"sql(
CREATE TABLE IF NOT EXISTS stores (
    station TEXT NOT NULL,
    position INTEGER NOT NULL,
    serial_number TEXT NOT NULL, terminal_number TEXT NOT NULL, user_name TEXT NOT NULL,
    password TEXT NOT NULL, cluster_address TEXT NOT NULL, host_port TEXT NOT NULL,
    domain_name TEXT NOT NULL, extra1 TEXT NOT NULL, store_name TEXT NOT NULL, display_user TEXT NOT NULL,
    PRIMARY KEY (station, position));
CREATE TABLE IF NOT EXISTS options (name TEXT PRIMARY KEY, value TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS store_list_overrides (station TEXT PRIMARY KEY, reply TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS maintenance (store_key TEXT PRIMARY KEY, since TEXT NOT NULL DEFAULT (datetime('now')));
CREATE TABLE IF NOT EXISTS settings (
    station TEXT PRIMARY KEY,
    prt0 TEXT NOT NULL DEFAULT '', prt1 TEXT NOT NULL DEFAULT '', prt2 TEXT NOT NULL DEFAULT '',
    prt3 TEXT NOT NULL DEFAULT '', cc TEXT NOT NULL DEFAULT '', prefix TEXT NOT NULL DEFAULT '');
CREATE TABLE IF NOT EXISTS versions (
    station TEXT PRIMARY KEY, version TEXT NOT NULL, reported_at TEXT NOT NULL DEFAULT (datetime('now')));
CREATE TABLE IF NOT EXISTS update_bases (station TEXT PRIMARY KEY, url TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS report_formats (
    prefix TEXT PRIMARY KEY COLLATE NOCASE, font TEXT NOT NULL, size TEXT NOT NULL, orientation TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS tblTickets (
    ticketnumber INTEGER PRIMARY KEY,
    emailaddress TEXT, contactname TEXT, productcode TEXT, chain TEXT, serial TEXT, summary TEXT, problem TEXT,
    datecreated TEXT NOT NULL DEFAULT (datetime('now')),
    phonenumber TEXT, status TEXT, locationname TEXT, prioritycode TEXT);
CREATE TABLE IF NOT EXISTS on_call (email TEXT PRIMARY KEY);
CREATE TABLE IF NOT EXISTS alerts (id INTEGER PRIMARY KEY, text TEXT NOT NULL,
    received_at TEXT NOT NULL DEFAULT (datetime('now')));
CREATE TABLE IF NOT EXISTS uploads (record INTEGER PRIMARY KEY, station TEXT NOT NULL UNIQUE, folder TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS requests (id INTEGER PRIMARY KEY,
    received_at TEXT NOT NULL DEFAULT (strftime('%Y-%m-%d %H:%M:%f', 'now')),
    method TEXT NOT NULL, path TEXT NOT NULL, status INTEGER NOT NULL,
    key TEXT NOT NULL, value TEXT NOT NULL, reply TEXT NOT NULL, content_type TEXT NOT NULL DEFAULT '');
)sql";

constexpr const char* demoStoreCountOption = "demo_store_count";
constexpr const char* allStationsReplyOption = "store_list_reply";

// Ticket numbers look like the helpdesk's: five digits and up.
constexpr std::int64_t firstTicketNumber = 10001;

std::int64_t toInt(const std::string& text) {
    return text.empty() ? 0 : std::stoll(text);
}

std::vector<std::string> firstColumn(const std::vector<SqlRow>& rows) {
    std::vector<std::string> out;
    for (const auto& row : rows)
        out.push_back(row.at(0));
    return out;
}

void insertStores(Sqlite& db, const std::string& station, const std::vector<StoreRecord>& stores) {
    std::int64_t position = 0;
    for (const auto& s : stores) {
        db.run("INSERT INTO stores VALUES (?,?,?,?,?,?,?,?,?,?,?,?)",
               {station, position++, s.serialNumber, s.terminalNumber, s.userName, s.password, s.clusterAddress,
                s.hostPort, s.domainName, s.extra1, s.storeName, s.displayUser});
    }
}

} // namespace

Database::Database(const std::string& path) : m_db(path) {
    m_db.script(schema);
}

bool Database::claimFirstUse() {
    std::lock_guard lock(m_mutex);
    SqlTransaction tx(m_db);
    if (m_db.query("PRAGMA user_version").at(0).at(0) != "0")
        return false;
    m_db.script("PRAGMA user_version = 1");
    tx.commit();
    return true;
}

std::optional<std::string> Database::option(const std::string& name) {
    const auto rows = m_db.query("SELECT value FROM options WHERE name = ?", {name});
    if (rows.empty())
        return std::nullopt;
    return rows[0][0];
}

void Database::setOption(const std::string& name, const std::optional<std::string>& value) {
    if (value)
        m_db.run("INSERT OR REPLACE INTO options VALUES (?, ?)", {name, *value});
    else
        m_db.run("DELETE FROM options WHERE name = ?", {name});
}

std::vector<std::string> Database::stations() {
    std::lock_guard lock(m_mutex);
    return firstColumn(m_db.query("SELECT DISTINCT station FROM stores ORDER BY station"));
}

std::vector<StoreRecord> Database::stores(const std::string& station) {
    std::lock_guard lock(m_mutex);
    std::vector<StoreRecord> out;
    for (auto& r : m_db.query("SELECT serial_number, terminal_number, user_name, password, cluster_address, "
                              "host_port, domain_name, extra1, store_name, display_user FROM stores "
                              "WHERE station = ? ORDER BY position",
                              {station}))
        out.push_back({r[0], r[1], r[2], r[3], r[4], r[5], r[6], r[7], r[8], r[9]});
    return out;
}

void Database::replaceStores(const std::string& station, const std::vector<StoreRecord>& stores) {
    std::lock_guard lock(m_mutex);
    SqlTransaction tx(m_db);
    m_db.run("DELETE FROM stores WHERE station = ?", {station});
    insertStores(m_db, station, stores);
    tx.commit();
}

bool Database::addStoresIfUnknown(const std::string& station, const std::vector<StoreRecord>& stores) {
    std::lock_guard lock(m_mutex);
    // Checked and filled in one transaction: a seed from an admin command may run at the same time.
    SqlTransaction tx(m_db);
    const auto known = m_db.query("SELECT 1 FROM stores WHERE station = ?1 UNION ALL "
                                  "SELECT 1 FROM store_list_overrides WHERE station = ?1 LIMIT 1",
                                  {station});
    if (!known.empty())
        return false;
    insertStores(m_db, station, stores);
    tx.commit();
    return true;
}

std::optional<int> Database::demoStoreCount() {
    std::lock_guard lock(m_mutex);
    const auto count = option(demoStoreCountOption);
    if (!count)
        return std::nullopt;
    return std::stoi(*count);
}

void Database::setDemoStoreCount(int count) {
    std::lock_guard lock(m_mutex);
    setOption(demoStoreCountOption, std::to_string(count));
}

std::optional<std::string> Database::storeListOverride(const std::string& station) {
    std::lock_guard lock(m_mutex);
    const auto rows = m_db.query("SELECT reply FROM store_list_overrides WHERE station = ?", {station});
    if (!rows.empty())
        return rows[0][0];
    return option(allStationsReplyOption);
}

void Database::setStoreListOverride(const std::optional<std::string>& station,
                                    const std::optional<std::string>& reply) {
    std::lock_guard lock(m_mutex);
    if (!station)
        setOption(allStationsReplyOption, reply);
    else if (reply)
        m_db.run("INSERT OR REPLACE INTO store_list_overrides VALUES (?, ?)", {*station, *reply});
    else
        m_db.run("DELETE FROM store_list_overrides WHERE station = ?", {*station});
}

void Database::setShutDown(const std::string& storeKey, bool shutDown) {
    std::lock_guard lock(m_mutex);
    if (shutDown)
        m_db.run("INSERT OR IGNORE INTO maintenance (store_key) VALUES (?)", {storeKey});
    else
        m_db.run("DELETE FROM maintenance WHERE store_key = ?", {storeKey});
}

std::vector<std::string> Database::shutDownStores() {
    std::lock_guard lock(m_mutex);
    return firstColumn(m_db.query("SELECT store_key FROM maintenance ORDER BY rowid"));
}

bool Database::storeKeyKnown(const std::string& storeKey) {
    std::lock_guard lock(m_mutex);
    return !m_db.query("SELECT 1 FROM stores WHERE store_name = ? LIMIT 1", {storeKey}).empty();
}

std::optional<SettingsRow> Database::settings(const std::string& station) {
    std::lock_guard lock(m_mutex);
    const auto rows =
        m_db.query("SELECT prt0, prt1, prt2, prt3, cc, prefix FROM settings WHERE station = ?", {station});
    if (rows.empty())
        return std::nullopt;
    const auto& r = rows[0];
    return SettingsRow{r[0], r[1], r[2], r[3], r[4], r[5]};
}

std::vector<std::pair<std::string, SettingsRow>> Database::allSettings() {
    std::lock_guard lock(m_mutex);
    std::vector<std::pair<std::string, SettingsRow>> out;
    for (auto& r : m_db.query("SELECT station, prt0, prt1, prt2, prt3, cc, prefix FROM settings ORDER BY station"))
        out.emplace_back(r[0], SettingsRow{r[1], r[2], r[3], r[4], r[5], r[6]});
    return out;
}

void Database::addSettings(const std::string& station) {
    std::lock_guard lock(m_mutex);
    m_db.run("INSERT OR IGNORE INTO settings (station) VALUES (?)", {station});
}

void Database::putSettings(const std::string& station, const SettingsRow& row) {
    std::lock_guard lock(m_mutex);
    m_db.run("INSERT OR REPLACE INTO settings VALUES (?,?,?,?,?,?,?)",
             {station, row[0], row[1], row[2], row[3], row[4], row[5]});
}

void Database::recordVersion(const std::string& station, const std::string& version) {
    std::lock_guard lock(m_mutex);
    m_db.run("INSERT OR REPLACE INTO versions (station, version) VALUES (?, ?)", {station, version});
}

std::vector<std::array<std::string, 3>> Database::versions() {
    std::lock_guard lock(m_mutex);
    std::vector<std::array<std::string, 3>> out;
    for (auto& r : m_db.query("SELECT station, version, reported_at FROM versions ORDER BY station"))
        out.push_back({r[0], r[1], r[2]});
    return out;
}

std::optional<std::string> Database::updateBase(const std::string& station) {
    std::lock_guard lock(m_mutex);
    // The station's own address wins over the default row (station "").
    const auto rows = m_db.query("SELECT url FROM update_bases WHERE station IN (?, '') "
                                 "ORDER BY station = '' LIMIT 1",
                                 {station});
    if (rows.empty())
        return std::nullopt;
    return rows[0][0];
}

void Database::setUpdateBase(const std::string& station, const std::string& url) {
    std::lock_guard lock(m_mutex);
    if (url.empty())
        m_db.run("DELETE FROM update_bases WHERE station = ?", {station});
    else
        m_db.run("INSERT OR REPLACE INTO update_bases VALUES (?, ?)", {station, url});
}

std::optional<ReportFormat> Database::reportFormat(const std::string& prefix) {
    std::lock_guard lock(m_mutex);
    const auto rows = m_db.query("SELECT font, size, orientation FROM report_formats WHERE prefix = ?", {prefix});
    if (rows.empty())
        return std::nullopt;
    return ReportFormat{rows[0][0], rows[0][1], rows[0][2]};
}

void Database::putReportFormat(const std::string& prefix, const ReportFormat& format) {
    std::lock_guard lock(m_mutex);
    m_db.run("INSERT OR REPLACE INTO report_formats VALUES (?, ?, ?, ?)",
             {prefix, format.font, format.size, format.orientation});
}

std::int64_t Database::addTicket(const TicketFields& f) {
    std::lock_guard lock(m_mutex);
    m_db.run("INSERT INTO tblTickets (ticketnumber, emailaddress, contactname, productcode, chain, serial, summary, "
             "problem, phonenumber, status, locationname, prioritycode) "
             "VALUES ((SELECT COALESCE(MAX(ticketnumber) + 1, ?) FROM tblTickets), ?,?,?,?,?,?,?,?,?,?,?)",
             {firstTicketNumber, f.email, f.contactName, f.productCode, f.chain, f.serial, f.summary, f.problem,
              f.phone, f.status, f.locationName, f.priority});
    return m_db.lastInsertId();
}

std::vector<Ticket> Database::tickets() {
    std::lock_guard lock(m_mutex);
    std::vector<Ticket> out;
    for (auto& r : m_db.query("SELECT ticketnumber, datecreated, emailaddress, contactname, productcode, chain, "
                              "serial, summary, problem, phonenumber, status, locationname, prioritycode "
                              "FROM tblTickets ORDER BY ticketnumber"))
        out.push_back({toInt(r[0]), r[1], {r[2], r[3], r[4], r[5], r[6], r[7], r[8], r[9], r[10], r[11], r[12]}});
    return out;
}

std::vector<std::string> Database::onCall() {
    std::lock_guard lock(m_mutex);
    return firstColumn(m_db.query("SELECT email FROM on_call ORDER BY rowid"));
}

void Database::addOnCall(const std::string& email) {
    std::lock_guard lock(m_mutex);
    m_db.run("INSERT OR IGNORE INTO on_call VALUES (?)", {email});
}

void Database::replaceOnCall(const std::vector<std::string>& emails) {
    std::lock_guard lock(m_mutex);
    m_db.run("DELETE FROM on_call");
    for (const auto& email : emails)
        m_db.run("INSERT OR IGNORE INTO on_call VALUES (?)", {email});
}

std::vector<std::pair<std::string, UploadFolder>> Database::uploadFolders() {
    std::lock_guard lock(m_mutex);
    std::vector<std::pair<std::string, UploadFolder>> out;
    for (auto& r : m_db.query("SELECT station, folder, record FROM uploads ORDER BY record"))
        out.push_back({r[0], {r[1], toInt(r[2])}});
    return out;
}

void Database::addAlert(const std::string& text) {
    std::lock_guard lock(m_mutex);
    m_db.run("INSERT INTO alerts (text) VALUES (?)", {text});
}

std::vector<std::string> Database::alerts() {
    std::lock_guard lock(m_mutex);
    return firstColumn(m_db.query("SELECT text FROM alerts ORDER BY id"));
}

std::optional<UploadFolder> Database::uploadFolder(const std::string& station) {
    std::lock_guard lock(m_mutex);
    const auto rows = m_db.query("SELECT folder, record FROM uploads WHERE station = ?", {station});
    if (rows.empty())
        return std::nullopt;
    return UploadFolder{rows[0][0], toInt(rows[0][1])};
}

void Database::putUploadFolder(const std::string& station, const std::string& folder) {
    std::lock_guard lock(m_mutex);
    // An upsert keeps the record number of a station that already has one.
    m_db.run("INSERT INTO uploads (station, folder) VALUES (?, ?) "
             "ON CONFLICT (station) DO UPDATE SET folder = excluded.folder",
             {station, folder});
}

void Database::logRequest(const LoggedRequest& r) {
    std::lock_guard lock(m_mutex);
    m_db.run("INSERT INTO requests (method, path, status, key, value, reply, content_type) "
             "VALUES (?, ?, ?, ?, ?, ?, ?)",
             {r.method, r.path, std::int64_t{r.status}, r.key, r.value, r.reply, r.contentType});
}

std::vector<LoggedRequest> Database::requests(const std::string& key) {
    std::lock_guard lock(m_mutex);
    std::vector<LoggedRequest> out;
    for (auto& r : m_db.query("SELECT id, received_at, method, path, status, key, value, reply, content_type "
                              "FROM requests "
                              "WHERE ?1 = '' OR key = ?1 ORDER BY id",
                              {key}))
        out.push_back({toInt(r[0]), r[1], r[2], r[3], static_cast<int>(toInt(r[4])), r[5], r[6], r[7], r[8]});
    return out;
}

} // namespace devservice

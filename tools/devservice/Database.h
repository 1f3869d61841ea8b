#pragma once
// The service's tables and the operations the request handlers and admin commands need. One
// connection, serialised by a mutex: the HTTP server calls in from its worker threads.
#include "tools/devservice/Sqlite.h"

#include <array>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace devservice {

/// One store connection as the store list sends it after the station identity.
struct StoreRecord {
    std::string serialNumber, terminalNumber, userName, password, clusterAddress, hostPort, domainName, extra1,
        storeName, displayUser;
};

/// prt0, prt1, prt2, prt3, CC, Prefix.
using SettingsRow = std::array<std::string, 6>;

struct ReportFormat {
    std::string font, size, orientation; // orientation "P" or "L"
};

/// The eleven values of a helpdesk record, in the order the station sends them.
struct TicketFields {
    std::string email, contactName, productCode, chain, serial, summary, problem, phone, status, locationName, priority;
};

struct Ticket {
    std::int64_t number = 0;
    std::string dateCreated;
    TicketFields fields;
};

struct UploadFolder {
    std::string folder;
    std::int64_t record = 0;
};

struct LoggedRequest {
    std::int64_t id = 0;
    std::string receivedAt, method, path;
    int status = 0;
    std::string key, value, reply; // key and value of endpoint requests; reply text of those only
    std::string contentType;
};

class Database {
public:
    explicit Database(const std::string& path);

    /// True for the first caller on a new file only, so that its reference rows are written once.
    bool claimFirstUse();

    // Store lists, per station.
    std::vector<std::string> stations();
    std::vector<StoreRecord> stores(const std::string& station);
    void replaceStores(const std::string& station, const std::vector<StoreRecord>& stores);
    /// Gives the station `stores` when it has none and no reply override; true when it did.
    bool addStoresIfUnknown(const std::string& station, const std::vector<StoreRecord>& stores);
    /// How many demo stores a station gets on its first ask, when set.
    std::optional<int> demoStoreCount();
    void setDemoStoreCount(int count);
    /// A fixed "mac=" reply that replaces the real one (a test's malformed list): the station's own,
    /// else the one for all stations.
    std::optional<std::string> storeListOverride(const std::string& station);
    /// `station` nothing = all stations; `reply` nothing removes the override.
    void setStoreListOverride(const std::optional<std::string>& station, const std::optional<std::string>& reply);

    // Maintenance shutdowns, by store key (storeName).
    void setShutDown(const std::string& storeKey, bool shutDown);
    std::vector<std::string> shutDownStores();
    bool storeKeyKnown(const std::string& storeKey);

    // Device settings rows.
    std::optional<SettingsRow> settings(const std::string& station);
    std::vector<std::pair<std::string, SettingsRow>> allSettings();
    /// Creates an empty row; an existing row is kept as it is.
    void addSettings(const std::string& station);
    void putSettings(const std::string& station, const SettingsRow& row);

    void recordVersion(const std::string& station, const std::string& version);
    std::vector<std::array<std::string, 3>> versions(); // station, version, reported at

    // Update base address: the station's own, else the default (station "").
    std::optional<std::string> updateBase(const std::string& station);
    void setUpdateBase(const std::string& station, const std::string& url); // empty url removes

    std::optional<ReportFormat> reportFormat(const std::string& prefix);
    void putReportFormat(const std::string& prefix, const ReportFormat& format);

    std::int64_t addTicket(const TicketFields& fields);
    std::vector<Ticket> tickets();

    std::vector<std::string> onCall();
    void addOnCall(const std::string& email);
    void replaceOnCall(const std::vector<std::string>& emails);
    void addAlert(const std::string& text);
    std::vector<std::string> alerts();

    std::optional<UploadFolder> uploadFolder(const std::string& station);
    /// Every station's saved folder, by record number.
    std::vector<std::pair<std::string, UploadFolder>> uploadFolders();
    void putUploadFolder(const std::string& station, const std::string& folder);

    void logRequest(const LoggedRequest& request);
    /// Logged requests in arrival order; an empty key gives all of them.
    std::vector<LoggedRequest> requests(const std::string& key = {});

private:
    std::optional<std::string> option(const std::string& name);
    void setOption(const std::string& name, const std::optional<std::string>& value);

    std::mutex m_mutex;
    Sqlite m_db;
};

} // namespace devservice

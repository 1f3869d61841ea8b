#pragma once
// The station's shared state: one object, owned by the main window for the whole run and handed
// by reference to whoever reads or changes it.
#include "core/StationSettings.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace station {

/// A top-level window of another program; 0 means none.
using WindowHandle = std::uintptr_t;

/// One store connection of this station, fields in the order the service sends them.
struct StoreEntry {
    std::string serialNumber; ///< passed to the client with " -x"
    std::string terminalNumber;
    std::string userName;
    std::string password;
    std::string clusterAddress; ///< host of the store's system
    std::string hostPort;       ///< passed with " -P"
    std::string domainName;
    std::string extra1;    ///< only carried
    std::string storeName; ///< display name and store key of the maintenance poll
    std::string displayUser;
    std::string status; ///< " " open, "R" re-opened, anything else shut down for maintenance
    std::chrono::system_clock::time_point maintenanceTime{};
    std::int16_t connectState = 0; ///< 0 never connected, 1 connected, 3 connection lost
};

/// The fixed table of 300 store connections.
class StoreTable {
public:
    static constexpr std::size_t capacity = 300;

    StoreEntry& at(std::size_t index) { return m_entries.at(checked(index)); }
    const StoreEntry& at(std::size_t index) const { return m_entries.at(checked(index)); }
    /// How many entries the last store list filled (rows 0 .. count-1).
    std::size_t count() const { return m_count; }
    void setCount(std::size_t count) {
        if (count > capacity)
            throw std::out_of_range("store count " + std::to_string(count) + " above 300");
        m_count = count;
    }

private:
    static std::size_t checked(std::size_t index) {
        if (index >= capacity)
            throw std::out_of_range("store index " + std::to_string(index) + " outside 0..299");
        return index;
    }
    std::array<StoreEntry, capacity> m_entries{};
    std::size_t m_count = 0;
};

/// The sign-on values the operator enters or loads from a connection file (UTF-8, as typed).
struct ConnectionSettings {
    std::string userName;
    std::string password;
    std::string hostAddress;
    std::string domain;
    std::string stationNumber;
    std::string filePath; ///< the connection file last loaded or saved; empty until then
};

/// Title of the telnet client's window as it opens for store host `host`: the main window and
/// the device window both look for the client by it.
inline std::string clientWindowTitle(const std::string& host) {
    return "GS Telnet Client   " + host;
}

struct StationState {
    std::string stationId;
    StoreTable stores;
    StationSettings settings;

    // Host command channel and its redial state.
    std::vector<std::string> serverList;
    std::int16_t serverIndex = 0;
    bool reconnectPending = false;
    std::uint16_t channelPort = 47000;

    /// The telnet client's window found last; 0 while none.
    WindowHandle clientWindow = 0;
    /// Host of the last connection: the device window looks for the client window by it.
    std::string loginHost;

    ConnectionSettings connection;
};

} // namespace station

#pragma once
#include <functional>
#include <optional>
#include <string>

namespace station {

/// Host names and rig settings: build-time values, each overridable by the environment
/// variable of the same name.
struct StationConfig {
    std::string serviceUrl;      ///< STATION_SERVICE_URL, path /terminal2secure.asp
    std::string reportsUrl;      ///< STATION_REPORTS_URL, path ends in /Reports/
    std::string updateUrl;       ///< STATION_UPDATE_URL, path /rdp
    std::string ftpHost;         ///< STATION_FTP_HOST
    std::string backofficeHost;  ///< STATION_BACKOFFICE_HOST (port 8300)
    std::string serverList;      ///< STATION_SERVER_LIST, comma-separated store host addresses
    std::string codec;           ///< STATION_CODEC, shared library of the codec; empty = identity
    std::string updatePublicKey; ///< STATION_UPDATE_PUBLIC_KEY, minisign public key; empty = unsigned updates
    /// This user's own folder for the program's files: %LOCALAPPDATA%\VORNE Terminal on Windows,
    /// $XDG_DATA_HOME/vorne-terminal (by default ~/.local/share/vorne-terminal) elsewhere; empty
    /// when the environment names no such place.
    std::string userFolder;
    int tickMs = 5000;        ///< STATION_TICK_MS, test rigs only
    int readerWaitMs = 30000; ///< STATION_READER_WAIT_MS: how long a read is waited for, test rigs only

    using Lookup = std::function<std::optional<std::string>(const char* name)>;
    /// The build-time values with the overrides that `lookup` finds.
    static StationConfig resolve(const Lookup& lookup);
    /// resolve() against the process environment.
    static StationConfig fromEnvironment();
};

} // namespace station

#pragma once
// The decisions of the telnet client session: what a connection needs, how the client is
// started, and what each supervision tick does to a store row.
#include "core/StationState.h"

#include <chrono>
#include <string>
#include <vector>

namespace station {

/// The entry as a connection signs on with it: each sign-on value the entry leaves empty (blanks
/// only) is taken from the connection settings where they hold one; the entry's own values win.
/// Station number, user name, password, host address and domain stand in for terminal number,
/// user name, password, cluster address and domain name. A domain of "." (what "login" stores for
/// an empty one) is a value like any other: it signs on to the machine's own domain.
StoreEntry signOnEntry(const StoreEntry& entry, const ConnectionSettings& connection);

/// Labels of the sign-on values the entry lacks, each followed by CR LF; empty when none.
std::string missingItems(const StoreEntry& entry);
/// Why a connection to the entry is refused; empty when it is not. `rowConnected`: its row is bold.
std::string refusalText(const StoreEntry& entry, bool rowConnected);
/// The message box text for missing sign-on values.
std::string missingItemsMessage(const std::string& items);

/// "gs_clnt.exe" for domains below three characters, else "gs_clnt7.exe".
std::string clientExecutable(const StoreEntry& entry);
/// The client's arguments up to the printer routes; adds the default settings row when there is
/// none (and then routes nothing).
std::string clientArguments(const StoreEntry& entry, StationSettings& settings);
/// Program path, arguments and " -x" serial number as one command line. A program path with
/// blanks is quoted so the client's own folder may contain them.
std::string clientCommandLine(const std::string& programPath, const std::string& arguments,
                              const std::string& serialNumber);

/// Title of the client window once it is connected.
std::string connectedTitle(const StoreEntry& entry);

/// Status text of a store shut down for maintenance.
std::string maintenanceText(const StoreEntry& entry);

/// The status column of a row and the connection state change that marking it brings.
std::string rowStatusText(bool on, const std::string& message);
void markConnectState(StoreEntry& entry, bool on);

/// One marking of a row.
struct RowMark {
    bool on = false;
    std::string message;
    bool operator==(const RowMark&) const = default;
};

/// What one tick does to one store row.
struct RowTick {
    std::vector<RowMark> marks; ///< in order
    bool disableConnect = false;
    bool enableConnect = false; ///< the client went away: Connect again, window back to normal
    bool operator==(const RowTick&) const = default;
};

/// Decides a tick for one row from whether the connected client window exists and whether the
/// row is shown as connected. Turns a re-opened status ("R") back to open (" ").
RowTick superviseRow(StoreEntry& entry, bool windowFound, bool rowConnected);

} // namespace station

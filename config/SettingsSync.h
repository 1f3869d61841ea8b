#pragma once
// The requests that move the station's device settings, the store maintenance status and the
// update address between the station and the central service.
#include "platform/Clock.h"
#include "platform/NetworkAdapters.h"
#include "service/ServiceClient.h"
#include "shell/StationState.h"

#include <array>
#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

namespace station {

/// A settings reply that ends inside a row of six: the rows before it were taken, that one not.
class ShortSettingsRow : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What a "prt=" reply asks for.
struct SettingsReply {
    std::vector<std::array<std::string, 6>> rows; ///< whole rows, in reply order
    bool unknownStation = false;                  ///< no "|" at all: the service has no row yet
    bool shortRow = false;                        ///< the last group of six ran short
};

/// Reads the split "prt=" reply: rows of six starting at 0, 6, 12, … while the start is below the
/// last index, so the empty piece after the final "|" never starts a row.
SettingsReply parseSettingsReply(const std::vector<std::string>& parts);

/// Value of "prtadd=": the first address of the identity, ampersands escaped, dashes removed.
std::string stationAddValue(const std::string& stationId);
/// Value of "prtupt=": the six fields trimmed, each ended by "|", then the identity without
/// dashes and "|"; empty when there is no identity. Ampersands escaped after joining.
std::string settingsWriteValue(const StationSettings& settings, const std::string& stationId);
/// Marks the stores the reply names as shut down (only those open), then every store the reply
/// does not name as re-opened. The two passes stay in this order.
void applyStoreStatus(const std::vector<std::string>& parts, StoreTable& stores,
                      std::chrono::system_clock::time_point now);
/// The second piece of an "upd1=" reply of three or more pieces, else empty.
std::string updateAddressFromReply(const std::vector<std::string>& parts);

/// The five requests, each refreshing the station identity from the adapters first. A failed
/// transfer changes nothing.
class SettingsSync {
public:
    SettingsSync(const ServiceClient& service, NetworkAdapters& adapters, Clock& clock, StationState& state)
        : m_service(service), m_adapters(adapters), m_clock(clock), m_state(state) {}

    /// "prt=" (and "prtadd=" for a station the service does not know). Throws ShortSettingsRow
    /// after taking the whole rows when the reply ends inside a row.
    void loadSettings();
    /// "prtupt=" with the current row.
    void writeSettings();
    /// "store=": the maintenance status of every store.
    void storeMaintenancePoll();
    /// "upd1=": the base address of this station's updates; empty when there is none.
    std::string updateAddress();

private:
    void refreshIdentity();

    const ServiceClient& m_service;
    NetworkAdapters& m_adapters;
    Clock& m_clock;
    StationState& m_state;
};

} // namespace station

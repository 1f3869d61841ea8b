#pragma once
// The requests that move the station's device settings, the store maintenance status and the
// update address between the station and the central service.
#include "core/StationState.h"
#include "platform/Clock.h"
#include "platform/NetworkAdapters.h"
#include "service/ServiceClient.h"

#include <chrono>
#include <stdexcept>
#include <string>

namespace station {

/// A settings reply that ends inside a row of six: the rows before it were taken, that one not.
class ShortSettingsRow : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Marks the stores the list names as shut down (only those open), then every store the list
/// does not name as re-opened. The two passes stay in this order.
void applyStoreStatus(const MaintenanceList& list, StoreTable& stores, std::chrono::system_clock::time_point now);

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

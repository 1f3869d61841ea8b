#include "config/SettingsSync.h"

#include "core/StationIdentity.h"

#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace station {

void applyStoreStatus(const MaintenanceList& list, StoreTable& stores, std::chrono::system_clock::time_point now) {
    // The list may be long and the table is short: index the table's names once, then walk the
    // list a single time.
    std::unordered_map<std::string_view, std::vector<std::size_t>> entriesByName;
    for (std::size_t j = 0; j < StoreTable::capacity; ++j)
        entriesByName[stores.at(j).storeName].push_back(j);
    std::unordered_set<std::string_view> named;
    list.forEachKey([&](std::string_view key) {
        const auto it = entriesByName.find(key);
        if (it == entriesByName.end())
            return;
        named.insert(it->first);
        for (const auto j : it->second)
            if (auto& e = stores.at(j); e.status == " ") {
                e.status = "Y";
                e.maintenanceTime = now;
            }
    });
    for (std::size_t j = 0; j < StoreTable::capacity; ++j)
        if (auto& e = stores.at(j); !named.contains(e.storeName))
            e.status = "R";
}

void SettingsSync::refreshIdentity() {
    m_state.stationId = stationIdentity(m_adapters.list());
}

void SettingsSync::loadSettings() {
    refreshIdentity();
    const auto reply = m_service.deviceSettings(m_state.stationId);
    if (!reply)
        return;
    if (reply->row) {
        m_state.settings.addRow();
        for (std::size_t f = 0; f < reply->row->size(); ++f)
            m_state.settings.set(StationSettings::fieldNames[f], (*reply->row)[f]);
    }
    if (reply->shortRow)
        throw ShortSettingsRow("The station settings from the service end inside a row; that row was left out");
    if (reply->unknownStation) {
        // From here on the station is known by its first adapter only.
        m_state.stationId = m_state.stationId.substr(0, 17);
        m_service.addStation(m_state.stationId);
    }
}

void SettingsSync::writeSettings() {
    refreshIdentity();
    m_service.writeDeviceSettings(m_state.settings, m_state.stationId);
}

void SettingsSync::storeMaintenancePoll() {
    refreshIdentity();
    if (const auto list = m_service.storesInMaintenance())
        applyStoreStatus(*list, m_state.stores, m_clock.now());
}

std::string SettingsSync::updateAddress() {
    refreshIdentity();
    return m_service.updateAddress(m_state.stationId);
}

} // namespace station

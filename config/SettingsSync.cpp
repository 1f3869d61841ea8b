#include "config/SettingsSync.h"

#include "service/Text.h"
#include "shell/StationIdentity.h"

#include <algorithm>

namespace station {

SettingsReply parseSettingsReply(const std::vector<std::string>& parts) {
    SettingsReply reply;
    const auto n = static_cast<long>(parts.size()) - 1;
    for (long i = 0; i <= n - 1; i += 6) {
        if (i + 5 > n) {
            reply.shortRow = true;
            break;
        }
        std::array<std::string, 6> row;
        for (std::size_t f = 0; f < row.size(); ++f)
            row[f] = parts[static_cast<std::size_t>(i) + f];
        reply.rows.push_back(std::move(row));
    }
    reply.unknownStation = n == 0;
    return reply;
}

std::string stationAddValue(const std::string& stationId) {
    return stripDashes(escapeAmpersands(stationId.substr(0, 17)));
}

std::string settingsWriteValue(const StationSettings& settings, const std::string& stationId) {
    if (text::trim(stationId).empty())
        return {};
    std::string value;
    for (const auto field : StationSettings::fieldNames)
        value += (settings.isOpen() ? text::trim(settings.get(field)) : std::string()) + "|";
    value += stripDashes(stationId) + "|";
    return escapeAmpersands(value);
}

void applyStoreStatus(const std::vector<std::string>& parts, StoreTable& stores,
                      std::chrono::system_clock::time_point now) {
    // The piece after the last "|" is no store key.
    const auto data = parts.empty() ? std::size_t{0} : parts.size() - 1;
    const auto begin = parts.begin();
    const auto end = begin + static_cast<std::ptrdiff_t>(data);
    for (auto part = begin; part != end; ++part)
        for (std::size_t j = 0; j < StoreTable::capacity; ++j)
            if (auto& e = stores.at(j); e.storeName == *part && e.status == " ") {
                e.status = "Y";
                e.maintenanceTime = now;
            }
    for (std::size_t j = 0; j < StoreTable::capacity; ++j)
        if (auto& e = stores.at(j); std::find(begin, end, e.storeName) == end)
            e.status = "R";
}

std::string updateAddressFromReply(const std::vector<std::string>& parts) {
    return parts.size() > 2 ? parts[1] : std::string();
}

void SettingsSync::refreshIdentity() {
    m_state.stationId = stationIdentity(m_adapters.list());
}

void SettingsSync::loadSettings() {
    refreshIdentity();
    const auto parts = m_service.request("prt=", stripDashes(m_state.stationId));
    if (!parts)
        return;
    const auto reply = parseSettingsReply(*parts);
    for (const auto& row : reply.rows) {
        m_state.settings.addRow();
        for (std::size_t f = 0; f < row.size(); ++f)
            m_state.settings.set(StationSettings::fieldNames[f], row[f]);
    }
    if (reply.shortRow)
        throw ShortSettingsRow("The station settings from the service end inside a row; that row was left out");
    if (reply.unknownStation) {
        // From here on the station is known by its first adapter only.
        m_state.stationId = m_state.stationId.substr(0, 17);
        (void)m_service.request("prtadd=", stationAddValue(m_state.stationId));
    }
}

void SettingsSync::writeSettings() {
    refreshIdentity();
    (void)m_service.request("prtupt=", settingsWriteValue(m_state.settings, m_state.stationId));
}

void SettingsSync::storeMaintenancePoll() {
    refreshIdentity();
    if (const auto parts = m_service.request("store=", "1"))
        applyStoreStatus(*parts, m_state.stores, m_clock.now());
}

std::string SettingsSync::updateAddress() {
    refreshIdentity();
    const auto parts = m_service.request("upd1=", stripDashes(m_state.stationId));
    return parts ? updateAddressFromReply(*parts) : std::string();
}

} // namespace station

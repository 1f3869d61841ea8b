#include "service/ServiceClient.h"

#include "core/Text.h"

#include <exception>

namespace station {

ServiceClient::ServiceClient(HttpClient& http, const Codec& codec, std::string serviceUrl)
    : m_http(http), m_codec(codec), m_serviceUrl(std::move(serviceUrl)) {}

ServiceReply<std::string> ServiceClient::send(std::string_view key, std::string_view value) const {
    try {
        std::string body(key);
        body += m_codec.encode(value);
        auto reply = m_http.post(m_serviceUrl, "application/x-www-form-urlencoded", body);
        if (!reply.ok)
            return {std::nullopt, reply.error};
        return {m_codec.decode(reply.body), {}};
    } catch (const std::exception& e) {
        // A codec that throws fails this request only; the caller takes its failure path.
        return {std::nullopt, e.what()};
    }
}

template <typename T, typename Read>
ServiceReply<T> ServiceClient::read(std::string_view key, std::string_view value, Read&& reader) const {
    auto reply = send(key, value);
    if (!reply)
        return {std::nullopt, std::move(reply.error)};
    return {reader(*reply.value), {}};
}

ServiceReply<StoreListReply> ServiceClient::storeList(std::string_view stationId) const {
    return read<StoreListReply>("mac=", stripDashes(escapeAmpersands(stationId)), readStoreList);
}

void ServiceClient::reportVersion(std::string_view programVersion, std::string_view stationId) const {
    send("updlast=", stripDashes(escapeAmpersands(std::string(programVersion) + "|" + std::string(stationId) + "|")));
}

ServiceReply<DeviceSettingsReply> ServiceClient::deviceSettings(std::string_view stationId) const {
    return read<DeviceSettingsReply>("prt=", stripDashes(stationId), readDeviceSettings);
}

void ServiceClient::addStation(std::string_view stationId) const {
    send("prtadd=", stripDashes(escapeAmpersands(stationId.substr(0, 17))));
}

void ServiceClient::writeDeviceSettings(const StationSettings& settings, std::string_view stationId) const {
    std::string value;
    if (!text::trim(stationId).empty()) {
        for (const auto field : StationSettings::fieldNames)
            value += (settings.isOpen() ? text::trim(settings.get(field)) : std::string()) + "|";
        value += stripDashes(stationId) + "|";
    }
    send("prtupt=", escapeAmpersands(value));
}

ServiceReply<MaintenanceList> ServiceClient::storesInMaintenance() const {
    return read<MaintenanceList>("store=", "1", [](std::string& reply) { return MaintenanceList(std::move(reply)); });
}

std::string ServiceClient::updateAddress(std::string_view stationId) const {
    const auto reply = send("upd1=", stripDashes(stationId));
    return reply ? readUpdateAddress(*reply) : std::string();
}

ReportFormat ServiceClient::reportFormat(std::string_view prefix) const {
    const auto reply = send("report=", prefix);
    return reply ? readReportFormat(*reply) : ReportFormat{};
}

std::string ServiceClient::submitTicket(std::string_view record) const {
    const auto reply = send("h=1&hd=", escapeAmpersands(record));
    return reply ? readTicketNumber(*reply) : std::string();
}

std::vector<std::string> ServiceClient::onCallList() const {
    const auto reply = send("h=1&oncall=", "1");
    return reply ? readOnCallList(*reply) : std::vector<std::string>{};
}

void ServiceClient::sendAlert(std::string_view alertText) const {
    send("h=1&alert=", alertText);
}

ServiceReply<UploadFolder> ServiceClient::uploadFolder(std::string_view stationId) const {
    return read<UploadFolder>("getupload=", stripDashes(stationId), readUploadFolder);
}

void ServiceClient::saveUploadFolder(const UploadFolder& saved, std::string_view stationId,
                                     std::string_view folder) const {
    const auto value = stripDashes(stationId) + "|" + std::string(folder) + "|";
    send(saved.record == UploadFolder::noRecord ? "insertupload=" : "setupload=", value);
}

std::string escapeAmpersands(std::string_view value) {
    return text::replaceAll(value, "&", "&amp;");
}

std::string stripDashes(std::string_view stationId) {
    return text::removeAll(stationId, '-');
}

} // namespace station

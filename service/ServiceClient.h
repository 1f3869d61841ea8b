#pragma once
// The central service as the station uses it: one function per request key. Each function
// prepares its value exactly as the request needs it (dashes removed from the station identity,
// "&" written as "&amp;" where that request asks for it), sends key + encode(value) as a form POST
// and reads the decoded reply. No other code builds a request body.
#include "core/StationSettings.h"
#include "platform/HttpClient.h"
#include "service/Codec.h"
#include "service/Replies.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace station {

/// The answer to a request: its value, or the reason there is none (a dead, slow or failing
/// service, an error status, a reply too large, a codec fault).
template <typename T> struct ServiceReply {
    std::optional<T> value;
    std::string error;

    explicit operator bool() const { return value.has_value(); }
    const T& operator*() const { return *value; }
    const T* operator->() const { return &*value; }
};

class ServiceClient {
public:
    ServiceClient(HttpClient& http, const Codec& codec, std::string serviceUrl);

    // Store list and main window.
    /// "mac=": the stores of this station.
    ServiceReply<StoreListReply> storeList(std::string_view stationId) const;
    /// "updlast=": tells the service which version runs here; the reply is not read.
    void reportVersion(std::string_view programVersion, std::string_view stationId) const;

    // Settings synchronisation.
    /// "prt=": the station's device settings (also read by the task mode for its printers).
    ServiceReply<DeviceSettingsReply> deviceSettings(std::string_view stationId) const;
    /// "prtadd=": creates the settings row of a station the service does not know yet; the
    /// identity sent is its first adapter address.
    void addStation(std::string_view stationId) const;
    /// "prtupt=": writes the settings row back; nothing of it is sent without an identity.
    void writeDeviceSettings(const StationSettings& settings, std::string_view stationId) const;
    /// "store=": the stores shut down for maintenance.
    ServiceReply<MaintenanceList> storesInMaintenance() const;
    /// "upd1=": the base address of this station's updates; empty when there is none.
    std::string updateAddress(std::string_view stationId) const;

    // Document printing.
    /// "report=": the format of the reports whose names begin with `prefix`.
    ReportFormat reportFormat(std::string_view prefix) const;

    // Helpdesk.
    /// "h=1&hd=": writes a ticket record; the ticket number, empty when none came back.
    std::string submitTicket(std::string_view record) const;
    /// "h=1&oncall=": who is on call.
    std::vector<std::string> onCallList() const;
    /// "h=1&alert=": tells the people in `alertText`; the reply is not read.
    void sendAlert(std::string_view alertText) const;

    // Uploader.
    /// "getupload=": the station's saved upload folder.
    ServiceReply<UploadFolder> uploadFolder(std::string_view stationId) const;
    /// "setupload=" for a station that has a saved folder, "insertupload=" for one that has none.
    void saveUploadFolder(const UploadFolder& saved, std::string_view stationId, std::string_view folder) const;

private:
    /// key + encode(value) as it stands; the decoded reply.
    ServiceReply<std::string> send(std::string_view key, std::string_view value) const;
    template <typename T, typename Read>
    ServiceReply<T> read(std::string_view key, std::string_view value, Read&& reader) const;

    HttpClient& m_http;
    const Codec& m_codec;
    std::string m_serviceUrl;
};

/// The station identity as the service keys it: every "-" removed.
std::string stripDashes(std::string_view stationId);
/// "&" → "&amp;", as the requests that ask for it write their values.
std::string escapeAmpersands(std::string_view value);

} // namespace station

#pragma once
// The replies of the service endpoint, one handler per request key, without any socket: the HTTP
// server and the unit tests both call reply().
#include "tools/devservice/Database.h"
#include "tools/devservice/WireText.h"

#include <string>
#include <string_view>

namespace devservice {

class Handlers {
public:
    explicit Handlers(Database& db) : m_db(db) {}

    /// The reply text for one request; an unknown key gets "".
    std::string reply(const RequestBody& request);
    std::string reply(std::string_view body) { return reply(splitRequestBody(body)); }

    /// The reply to "getupload=" for a station that has no saved folder: record number 65535 and
    /// no "|", which the station reads as "no record".
    static constexpr std::string_view noUploadRecord = "65535";
    /// The reply to "prt=" for a station without a settings row: non-empty and without "|".
    static constexpr std::string_view noSettingsRow = "none";

private:
    std::string storeList(const std::string& station);
    std::string versionReport(const std::string& value);
    std::string settingsLoad(const std::string& station);
    std::string settingsAdd(const std::string& station);
    std::string settingsWrite(const std::string& value);
    std::string maintenancePoll(const std::string& value);
    std::string updateAddress(const std::string& station);
    std::string reportFormat(const std::string& prefix);
    std::string helpdeskTicket(const std::string& record);
    std::string onCallList(const std::string& value);
    std::string alert(const std::string& text);
    std::string uploadFolderRead(const std::string& value);
    std::string uploadFolderWrite(const std::string& value);

    Database& m_db;
};

} // namespace devservice

#include "tools/devservice/Handlers.h"

#include "tools/devservice/DemoData.h"

#include <algorithm>
#include <array>
#include <utility>

namespace devservice {

namespace {

using Handler = std::string (Handlers::*)(const std::string&);

constexpr std::size_t settingsFields = 6;
constexpr std::size_t ticketFields = 11;

/// The text before the first "|" and the text after it (empty when there is none).
std::pair<std::string, std::string> cutAtFirstBar(const std::string& value) {
    const std::size_t bar = value.find('|');
    if (bar == std::string::npos)
        return {value, {}};
    return {value.substr(0, bar), value.substr(bar + 1)};
}

/// `text` with every "&amp;" written back as "&".
std::string unescapeAmpersands(std::string text) {
    for (std::size_t at = text.find("&amp;"); at != std::string::npos; at = text.find("&amp;", at + 1))
        text.replace(at, 5, "&");
    return text;
}

} // namespace

std::string Handlers::reply(const RequestBody& request) {
    static const std::array<std::pair<std::string_view, Handler>, 14> table{{
        {"mac=", &Handlers::storeList},
        {"updlast=", &Handlers::versionReport},
        {"prt=", &Handlers::settingsLoad},
        {"prtadd=", &Handlers::settingsAdd},
        {"prtupt=", &Handlers::settingsWrite},
        {"store=", &Handlers::maintenancePoll},
        {"upd1=", &Handlers::updateAddress},
        {"report=", &Handlers::reportFormat},
        {"h=1&hd=", &Handlers::helpdeskTicket},
        {"h=1&oncall=", &Handlers::onCallList},
        {"h=1&alert=", &Handlers::alert},
        {"getupload=", &Handlers::uploadFolderRead},
        {"setupload=", &Handlers::uploadFolderWrite},
        {"insertupload=", &Handlers::uploadFolderWrite},
    }};
    for (const auto& [key, handler] : table)
        if (request.key == key)
            return (this->*handler)(request.value);
    return {};
}

std::string Handlers::storeList(const std::string& station) {
    if (auto fixed = m_db.storeListOverride(station))
        return *fixed;
    // Any station that asks gets demo stores, so a fresh station has something to connect to.
    m_db.addStoresIfUnknown(station, demoStores(m_db.demoStoreCount().value_or(defaultStoreCount)));
    std::string out;
    for (const auto& s : m_db.stores(station))
        out += joinEnded({station, s.serialNumber, s.terminalNumber, s.userName, s.password, s.clusterAddress,
                          s.hostPort, s.domainName, s.extra1, s.storeName, s.displayUser});
    return out;
}

std::string Handlers::versionReport(const std::string& value) {
    // version|station|
    const auto [version, rest] = cutAtFirstBar(value);
    m_db.recordVersion(cutAtFirstBar(rest).first, version);
    return {};
}

std::string Handlers::settingsLoad(const std::string& station) {
    const auto row = m_db.settings(station);
    if (!row)
        return std::string(noSettingsRow);
    return joinEnded(std::vector<std::string>(row->begin(), row->end()));
}

std::string Handlers::settingsAdd(const std::string& station) {
    m_db.addSettings(station);
    return {};
}

std::string Handlers::settingsWrite(const std::string& value) {
    // prt0|prt1|prt2|prt3|CC|Prefix|station| — kept exactly as sent ("&amp;" stays "&amp;"). A
    // station that could not tell its identity sends nothing; a value of another shape is ignored
    // rather than guessed at, so a bad write never lands on another station's row.
    const auto fields = endedFields(value);
    if (fields.size() != settingsFields + 1)
        return {};
    SettingsRow row;
    std::copy_n(fields.begin(), settingsFields, row.begin());
    m_db.putSettings(fields[settingsFields], row);
    return {};
}

std::string Handlers::maintenancePoll(const std::string&) {
    return joinEnded(m_db.shutDownStores());
}

std::string Handlers::updateAddress(const std::string& station) {
    const auto base = m_db.updateBase(station);
    if (!base)
        return {};
    return joinEnded({"x", *base});
}

std::string Handlers::reportFormat(const std::string& prefix) {
    const auto format = m_db.reportFormat(prefix);
    if (!format)
        return {};
    // Exactly four fields and no closing bar: the station accepts the format only when a split
    // gives four parts.
    return format->font + "|" + format->size + "|" + format->orientation + "|x";
}

// Helpdesk ticket record (h=1&hd=), eleven values each ended by "|", filed into tblTickets:
//   emailaddress|contactname|productcode|chain|serial|summary|problem|phonenumber|status|
//   locationname|prioritycode|
// datecreated is the service's own clock; ticketnumber counts up from 10001 and is the reply
// ("10001|"). The station writes every "&" as "&amp;" (the record once travelled inside an XML
// statement): the ticket keeps the text as the person typed it.
std::string Handlers::helpdeskTicket(const std::string& record) {
    auto f = endedFields(unescapeAmpersands(record));
    if (f.size() < ticketFields)
        return {};
    // The problem (seventh value) is the only free text likely to hold a "|" of its own; the values
    // around it have fixed positions from either end, so extra fields are joined back into it.
    const std::size_t tail = f.size() - 4;
    std::string problem = f[6];
    for (std::size_t i = 7; i < tail; ++i)
        problem += "|" + f[i];
    const TicketFields ticket{f[0],    f[1],    f[2],        f[3],        f[4],       f[5],
                              problem, f[tail], f[tail + 1], f[tail + 2], f[tail + 3]};
    return std::to_string(m_db.addTicket(ticket)) + "|";
}

// On-call list (h=1&oncall=1): one e-mail address per piece, each ended by "|". Alert
// (h=1&alert=TEXT): items "address|marker " (marker A for on-call staff, I for the writer of the
// ticket); kept as sent for whoever sends the mails.
std::string Handlers::onCallList(const std::string&) {
    return joinEnded(m_db.onCall());
}

std::string Handlers::alert(const std::string& text) {
    m_db.addAlert(text);
    return {};
}

// Saved upload folder values:
//   getupload=    station|        the "|" (and anything after it) may be left out
//   setupload=    station|folder|
//   insertupload= station|folder|
// The folder runs from the first "|" to the closing one and is kept as sent. Both writes store the
// folder whether or not the station already has a record: a station that picks the wrong one of the
// two still ends up with its folder saved, under one record number that never changes.
// getupload= replies folder|record| or, without a saved folder, "65535".
std::string Handlers::uploadFolderRead(const std::string& value) {
    const auto saved = m_db.uploadFolder(cutAtFirstBar(value).first);
    if (!saved)
        return std::string(noUploadRecord);
    return joinEnded({saved->folder, std::to_string(saved->record)});
}

std::string Handlers::uploadFolderWrite(const std::string& value) {
    auto [station, folder] = cutAtFirstBar(value);
    if (value.find('|') == std::string::npos)
        return {};
    if (!folder.empty() && folder.back() == '|')
        folder.pop_back();
    m_db.putUploadFolder(station, folder);
    return {};
}

} // namespace devservice

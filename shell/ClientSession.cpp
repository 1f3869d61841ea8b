#include "shell/ClientSession.h"

#include "core/Environment.h"
#include "core/Text.h"

#include <utility>

namespace station {

StoreEntry signOnEntry(const StoreEntry& entry, const ConnectionSettings& connection) {
    auto out = entry;
    const std::pair<std::string*, const std::string*> values[] = {
        {&out.terminalNumber, &connection.stationNumber},
        {&out.userName, &connection.userName},
        {&out.password, &connection.password},
        {&out.clusterAddress, &connection.hostAddress},
        {&out.domainName, &connection.domain},
    };
    for (const auto& [value, setting] : values)
        if (text::trim(*value).empty() && !text::trim(*setting).empty())
            *value = text::toWire(text::trim(*setting)); // entries hold wire text, the settings UTF-8
    return out;
}

std::string missingItems(const StoreEntry& entry) {
    const std::pair<const std::string*, const char*> items[] = {
        {&entry.terminalNumber, "Terminal Number"}, {&entry.userName, "Username"},      {&entry.password, "Password"},
        {&entry.clusterAddress, "Cluster Address"}, {&entry.domainName, "Domain Name"},
    };
    std::string out;
    for (const auto& [value, label] : items)
        if (text::trim(*value).empty())
            out += std::string(label) + "\r\n";
    return out;
}

std::string refusalText(const StoreEntry& entry, bool rowConnected) {
    if (rowConnected)
        return "You must first get out of the existing VORNEOnline connection to this store";
    if (entry.status != "R" && entry.status != " ")
        return "This store was shutdown for maintenance @ " + dateTimeText(entry.maintenanceTime) +
               " please try again later";
    return {};
}

std::string missingItemsMessage(const std::string& items) {
    return "You are missing the following information from your login data: \r\n" + items;
}

std::string clientExecutable(const StoreEntry& entry) {
    return entry.domainName.size() < 3 ? "gs_clnt.exe" : "gs_clnt7.exe";
}

std::string clientArguments(const StoreEntry& entry, StationSettings& settings) {
    auto args = "-b" + entry.terminalNumber + " -u" + entry.userName + " -P" + entry.hostPort + " -p" + entry.password +
                " -h" + text::trim(entry.clusterAddress) + " -d" + entry.domainName + " -H180 -z";
    if (!settings.hasRow()) {
        settings.addRow();
        for (const auto field : {"prt0", "prt1", "prt2"})
            settings.set(field, StationSettings::unassigned);
        return args;
    }
    const auto prefix = text::trim(settings.get("Prefix"));
    const char* routes[] = {"prt0", "prt1", "prt2"};
    for (int i = 0; i < 3; ++i)
        if (const auto printer = text::trim(settings.get(routes[i])); !printer.empty())
            args.append(" -r").append(std::to_string(i + 1)).append("=").append(prefix).append(printer);
    return args;
}

std::string clientCommandLine(const std::string& programPath, const std::string& arguments,
                              const std::string& serialNumber) {
    const auto program = programPath.find(' ') == std::string::npos ? programPath : "\"" + programPath + "\"";
    return program + " " + arguments + " -x" + serialNumber;
}

std::string connectedTitle(const StoreEntry& entry) {
    return clientWindowTitle(entry.clusterAddress) + " x:" + entry.serialNumber;
}

std::string maintenanceText(const StoreEntry& entry) {
    return "Store Shutdown for Maint @ " + dateTimeText(entry.maintenanceTime);
}

std::string rowStatusText(bool on, const std::string& message) {
    return on ? message + "connected" : message;
}

void markConnectState(StoreEntry& entry, bool on) {
    if (on && entry.connectState == 0)
        entry.connectState = 1;
    else if (!on && (entry.connectState == 1 || entry.connectState == 2))
        entry.connectState = 3;
}

RowTick superviseRow(StoreEntry& entry, bool windowFound, bool rowConnected) {
    RowTick tick;
    auto mark = [&](bool on, std::string message) {
        tick.marks.push_back({on, std::move(message)});
        rowConnected = on;
    };
    if (entry.status == "R") {
        entry.status = " ";
        mark(windowFound, {});
    }
    if (entry.status != " ") {
        mark(false, maintenanceText(entry));
    } else if (windowFound && !rowConnected) {
        mark(true, {});
        tick.disableConnect = true;
    } else if (!windowFound && rowConnected) {
        mark(false, {});
        tick.enableConnect = true;
    }
    return tick;
}

} // namespace station

#include "shell/StoreList.h"

#include "service/ServiceClient.h"
#include "service/Text.h"
#include "shell/StationIdentity.h"

#include <charconv>

namespace station {

StoreListReply parseStoreList(const std::vector<std::string>& parts) {
    StoreListReply reply;
    // At least one whole record and the trailing piece: highest index 11.
    if (parts.size() < storeRecordFields + 1)
        return reply;
    reply.hasData = true;
    const std::size_t last = parts.size() - 1;
    for (std::size_t j = 0; j + 1 <= last; j += storeRecordFields) {
        if (j + storeRecordFields - 1 > last) {
            reply.incompleteRecord = true;
            break;
        }
        if (reply.stores.size() == StoreTable::capacity) {
            ++reply.ignoredStores;
            continue;
        }
        reply.stationId = parts[j];
        StoreEntry e;
        e.serialNumber = parts[j + 1];
        e.terminalNumber = parts[j + 2];
        e.userName = parts[j + 3];
        e.password = parts[j + 4];
        e.clusterAddress = parts[j + 5];
        e.hostPort = parts[j + 6];
        e.domainName = parts[j + 7];
        e.extra1 = parts[j + 8];
        e.storeName = parts[j + 9];
        e.displayUser = parts[j + 10];
        reply.stores.push_back(std::move(e));
    }
    return reply;
}

void applyStoreList(const StoreListReply& reply, StationState& state, Yield& yield) {
    for (std::size_t k = 0; k < reply.stores.size(); ++k) {
        state.commandParameter = reply.stationId;
        state.stationId = reply.stationId;
        const auto& from = reply.stores[k];
        auto& to = state.stores.at(k);
        to.serialNumber = from.serialNumber;
        to.terminalNumber = from.terminalNumber;
        to.userName = from.userName;
        to.password = from.password;
        to.clusterAddress = from.clusterAddress;
        to.hostPort = from.hostPort;
        to.domainName = from.domainName;
        to.extra1 = from.extra1;
        to.storeName = from.storeName;
        to.displayUser = from.displayUser;
        // The reply carries no status: a store never marked otherwise is open.
        if (to.status.empty())
            to.status = " ";
        yield.yield();
    }
    state.stores.setCount(reply.stores.size());
}

StoreListReply fetchStoreList(const ServiceClient& service, NetworkAdapters& adapters, Yield& yield,
                              StationState& state, const std::string& programVersion) {
    state.stationId = stationIdentity(adapters.list());
    const auto parts = service.request("mac=", stripDashes(escapeAmpersands(state.stationId)));
    auto reply = parts ? parseStoreList(*parts) : StoreListReply{};
    if (!reply.hasData)
        return reply;
    applyStoreList(reply, state, yield);
    service.request("updlast=", versionReport(programVersion, state.stationId));
    return reply;
}

std::string storeRowKey(std::size_t index) {
    return "A " + std::to_string(index);
}

int storeIndexFromKey(const std::string& key) {
    if (key.size() < 2)
        return -1;
    const auto number = text::trim(std::string_view(key).substr(1));
    int value = -1;
    auto [end, ec] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (ec != std::errc() || end != number.data() + number.size() || value < 0)
        return -1;
    return value;
}

std::string storeMenuText(const StoreEntry& entry) {
    return entry.serialNumber + " (" + entry.storeName + ")";
}

std::string versionReport(const std::string& programVersion, const std::string& stationId) {
    return stripDashes(escapeAmpersands(programVersion + "|" + stationId + "|"));
}

std::string storeListNotice(const StoreListReply& reply) {
    std::string notice;
    if (reply.ignoredStores > 0)
        notice = "The service listed " + std::to_string(StoreTable::capacity + reply.ignoredStores) +
                 " stores; only the first 300 are shown";
    if (reply.incompleteRecord)
        notice += std::string(notice.empty() ? "" : ". ") + "The store list ended inside a record, which was left out";
    return notice;
}

} // namespace station

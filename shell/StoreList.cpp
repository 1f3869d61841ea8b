#include "shell/StoreList.h"

#include "core/StationIdentity.h"
#include "core/Text.h"

#include <charconv>

namespace station {

void applyStoreList(const StoreListReply& reply, StationState& state, Yield& yield) {
    for (std::size_t k = 0; k < reply.stores.size(); ++k) {
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

ServiceReply<StoreListReply> fetchStoreList(const ServiceClient& service, NetworkAdapters& adapters, Yield& yield,
                                            StationState& state, const std::string& programVersion) {
    state.stationId = stationIdentity(adapters.list());
    auto reply = service.storeList(state.stationId);
    if (!reply || !reply->hasData)
        return reply;
    applyStoreList(*reply, state, yield);
    service.reportVersion(programVersion, state.stationId);
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

std::vector<StoreRow> storeRows(const StoreTable& stores) {
    std::vector<StoreRow> rows;
    rows.reserve(stores.count());
    for (std::size_t k = 0; k < stores.count(); ++k) {
        const auto& e = stores.at(k);
        rows.push_back({text::fromWire(e.storeName), text::fromWire(e.terminalNumber), text::fromWire(e.displayUser),
                        text::fromWire(e.serialNumber), storeRowKey(k), text::fromWire(storeMenuText(e))});
    }
    return rows;
}

std::string storeMenuText(const StoreEntry& entry) {
    return entry.serialNumber + " (" + entry.storeName + ")";
}

std::string storeListNotice(const ServiceReply<StoreListReply>& fetched) {
    if (!fetched)
        return "The store list could not be fetched: the VORNEOnline service was not reached (" + fetched.error + ")";
    const auto& reply = *fetched;
    std::string notice;
    if (reply.ignoredStores > 0)
        notice = "The service listed " + std::to_string(StoreTable::capacity + reply.ignoredStores) +
                 " stores; only the first 300 are shown";
    if (reply.incompleteRecord)
        notice += std::string(notice.empty() ? "" : ". ") + "The store list ended inside a record, which was left out";
    return notice;
}

} // namespace station

#pragma once
#include "platform/NetworkAdapters.h"
#include "platform/Yield.h"
#include "service/ServiceClient.h"
#include "shell/StationState.h"

#include <string>
#include <vector>

namespace station {

/// What a store list reply gave.
struct StoreListReply {
    bool hasData = false;           ///< false: the reply was too short to hold one store
    std::string stationId;          ///< field 0 of the last store read
    std::vector<StoreEntry> stores; ///< at most 300, in reply order
    std::size_t ignoredStores = 0;  ///< whole records beyond the 300th
    bool incompleteRecord = false;  ///< the reply ended inside a record, which was left out
};

inline constexpr std::size_t storeRecordFields = 11;

/// Reads the split reply of "mac=": records of 11 fields (station identity, then the ten text
/// fields of a store) starting at 0, 11, 22, … while the start is not beyond the last index − 1,
/// so the empty piece after the final "|" never starts a record.
StoreListReply parseStoreList(const std::vector<std::string>& parts);

/// Copies the stores of the reply into the table (entry k from record k), makes each station
/// identity of the reply the current one, and lets window events run after each store.
void applyStoreList(const StoreListReply& reply, StationState& state, Yield& yield);

/// The whole fetch: identity from the adapters, "mac=", the table filled, then "updlast=" to
/// tell the service which version runs here. A failed or too short reply changes no store.
StoreListReply fetchStoreList(const ServiceClient& service, NetworkAdapters& adapters, Yield& yield,
                              StationState& state, const std::string& programVersion);

/// Row key of store k: "A", a blank, k.
std::string storeRowKey(std::size_t index);
/// Reads a row key back: the text from its second character as a number; -1 when it is none.
int storeIndexFromKey(const std::string& key);
/// Drop-down text of a store: serial number, " (", store name, ")".
std::string storeMenuText(const StoreEntry& entry);
/// Value of the "updlast=" report: version | station | with ampersands escaped and no dashes.
std::string versionReport(const std::string& programVersion, const std::string& stationId);
/// A line for the status bar when the reply was not taken whole; empty when it was.
std::string storeListNotice(const StoreListReply& reply);

} // namespace station

#pragma once
#include "core/StationState.h"
#include "platform/NetworkAdapters.h"
#include "platform/Yield.h"
#include "service/ServiceClient.h"
#include "shell/StationView.h"

#include <string>
#include <vector>

namespace station {

/// Copies the stores of the reply into the table (entry k from record k), makes each station
/// identity of the reply the current one, and lets window events run after each store.
void applyStoreList(const StoreListReply& reply, StationState& state, Yield& yield);

/// The whole fetch: identity from the adapters, "mac=", the table filled, then "updlast=" to
/// tell the service which version runs here. A failed or too short reply changes no store.
ServiceReply<StoreListReply> fetchStoreList(const ServiceClient& service, NetworkAdapters& adapters, Yield& yield,
                                            StationState& state, const std::string& programVersion);

/// Row key of store k: "A", a blank, k.
std::string storeRowKey(std::size_t index);
/// Reads a row key back: the text from its second character as a number; -1 when it is none.
int storeIndexFromKey(const std::string& key);
/// The list rows of the stores the table holds, decoded for the screen.
std::vector<StoreRow> storeRows(const StoreTable& stores);
/// Drop-down text of a store: serial number, " (", store name, ")".
std::string storeMenuText(const StoreEntry& entry);
/// A line for the status bar when the list could not be fetched or was not taken whole; empty
/// when it was. An empty list must never pass for "no stores" when the service was not reached.
std::string storeListNotice(const ServiceReply<StoreListReply>& fetched);

} // namespace station

#pragma once
// Demo content: the stores a new station gets, the report formats, the on-call list and sample
// documents with printer control bytes.
#include "tools/devservice/Database.h"

#include <filesystem>
#include <vector>

namespace devservice {

/// The store set of a station the service has not seen before.
constexpr int defaultStoreCount = 4;

/// `count` stores with ten-digit serial numbers 12345nnnnn, names STOREnn, loopback cluster
/// addresses (one per store, so that each client window title is distinct) and domain names
/// alternating between two and four characters. With the default count, the last store is a
/// chain-level entry (serial ending in 0000).
std::vector<StoreRecord> demoStores(int count = defaultStoreCount);

/// Report formats, on-call addresses: the rows every demo database holds.
void seedReferenceRows(Database& db);

/// Sample report, receipt and label under files/Reports/<first5>/<store id>/ for the default stores,
/// and update files under files/rdp/.
void writeSampleFiles(const std::filesystem::path& filesRoot);

} // namespace devservice

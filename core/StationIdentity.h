#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace station {

/// A network adapter as the system lists it: its name and physical (hardware) address.
struct NetworkAdapter {
    std::string name;
    std::vector<std::uint8_t> address;
};

/// One adapter address as two-digit upper-case hex bytes joined by "-" ("00-1A-2B-3C-4D-5E").
std::string formatPhysicalAddress(const std::vector<std::uint8_t>& address);

/// The station identity: the addresses of all adapters in the system's order, joined by "-"
/// into one text. The first 17 characters are therefore the first adapter's address, and with
/// the dashes removed (as the service keys stations) the identity is the adapters' hex digits
/// in a row. Adapters without an address are left out.
std::string stationIdentity(const std::vector<NetworkAdapter>& adapters);

} // namespace station

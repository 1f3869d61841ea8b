#include "core/StationIdentity.h"

namespace station {

std::string formatPhysicalAddress(const std::vector<std::uint8_t>& address) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(address.size() * 3);
    for (auto byte : address) {
        if (!out.empty())
            out += '-';
        out += digits[byte >> 4];
        out += digits[byte & 0x0F];
    }
    return out;
}

std::string stationIdentity(const std::vector<NetworkAdapter>& adapters) {
    std::string id;
    for (const auto& adapter : adapters) {
        const auto text = formatPhysicalAddress(adapter.address);
        if (text.empty())
            continue;
        if (!id.empty())
            id += '-';
        id += text;
    }
    return id;
}

} // namespace station

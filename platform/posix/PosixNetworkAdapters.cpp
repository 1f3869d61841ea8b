// Network adapters from getifaddrs: its AF_PACKET entries carry each link's hardware address.
#include "platform/Adapters.h"
#include "platform/NetworkAdapters.h"

#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/socket.h>

#include <algorithm>
#include <memory>
#include <set>

namespace station {

namespace {

class PosixNetworkAdapters final : public NetworkAdapters {
public:
    std::vector<Adapter> list() override {
        ifaddrs* first = nullptr;
        if (getifaddrs(&first) != 0)
            return {};
        const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(first, &freeifaddrs);

        struct Found {
            int index;
            Adapter adapter;
        };
        std::vector<Found> found;
        std::set<std::string> names;
        for (const ifaddrs* entry = first; entry; entry = entry->ifa_next) {
            if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_PACKET || !entry->ifa_name)
                continue;
            if (entry->ifa_flags & IFF_LOOPBACK)
                continue;
            const auto* link = reinterpret_cast<const sockaddr_ll*>(entry->ifa_addr);
            // sll_addr holds eight bytes; longer link addresses (some tunnels) are cut there, as
            // the Windows adapter list does.
            const std::size_t length = std::min<std::size_t>(link->sll_halen, sizeof link->sll_addr);
            std::vector<std::uint8_t> address(link->sll_addr, link->sll_addr + length);
            if (std::all_of(address.begin(), address.end(), [](std::uint8_t b) { return b == 0; }))
                continue;
            if (!names.insert(entry->ifa_name).second)
                continue;
            found.push_back({link->sll_ifindex, {entry->ifa_name, std::move(address)}});
        }
        // The kernel lists links by index already; sorting keeps the identity stable even where
        // an older C library would not.
        std::stable_sort(found.begin(), found.end(), [](const Found& a, const Found& b) { return a.index < b.index; });

        std::vector<Adapter> adapters;
        adapters.reserve(found.size());
        for (auto& f : found)
            adapters.push_back(std::move(f.adapter));
        return adapters;
    }
};

} // namespace

std::unique_ptr<NetworkAdapters> makeNetworkAdapters() {
    return std::make_unique<PosixNetworkAdapters>();
}

} // namespace station

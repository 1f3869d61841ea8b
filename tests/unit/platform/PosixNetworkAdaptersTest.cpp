// The adapter list against the kernel's own view of the links in /sys/class/net.
#include "platform/Adapters.h"

#include <gtest/gtest.h>
#include <net/if.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace station {
namespace {

struct Link {
    int index = 0;
    std::string name;
    std::string address; ///< "02:fc:00:00:00:01", cut to eight bytes like the adapter list
    bool ethernet = false;
};

std::string readLine(const std::filesystem::path& file) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    return line;
}

std::vector<Link> kernelLinks() {
    std::vector<Link> links;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/class/net")) {
        const auto flags = std::stoul(readLine(entry.path() / "flags"), nullptr, 16);
        auto address = readLine(entry.path() / "address").substr(0, 8 * 3 - 1);
        const bool zero = std::all_of(address.begin(), address.end(), [](char c) { return c == '0' || c == ':'; });
        if ((flags & IFF_LOOPBACK) || zero)
            continue;
        links.push_back({std::stoi(readLine(entry.path() / "ifindex")), entry.path().filename().string(), address,
                         readLine(entry.path() / "type") == "1"});
    }
    std::sort(links.begin(), links.end(), [](const Link& a, const Link& b) { return a.index < b.index; });
    return links;
}

std::string colonHex(const std::vector<std::uint8_t>& bytes) {
    std::string out;
    for (auto b : bytes) {
        char two[4];
        std::snprintf(two, sizeof two, "%02x", b);
        out += (out.empty() ? "" : ":") + std::string(two);
    }
    return out;
}

TEST(PosixNetworkAdapters, ListsEveryNonLoopbackLinkWithAnAddressInIndexOrder) {
    const auto adapters = makeNetworkAdapters()->list();
    const auto links = kernelLinks();
    ASSERT_EQ(adapters.size(), links.size());
    for (std::size_t i = 0; i < links.size(); ++i) {
        EXPECT_EQ(adapters[i].name, links[i].name);
        EXPECT_EQ(colonHex(adapters[i].address), links[i].address) << links[i].name;
        if (links[i].ethernet) {
            EXPECT_EQ(adapters[i].address.size(), 6u) << links[i].name;
        }
    }
}

} // namespace
} // namespace station

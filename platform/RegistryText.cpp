#include "platform/RegistryText.h"

#include <algorithm>
#include <cstdio>

namespace station {

std::optional<std::string> registryValueText(std::uint32_t type, const std::vector<std::uint8_t>& bytes) {
    if (type == registryString) {
        const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
        return std::string(bytes.begin(), end);
    }
    if (type != registryNumber || bytes.size() < 4)
        return std::nullopt;
    std::string digits;
    for (int i = 3; i >= 0; --i) {
        char hex[3];
        std::snprintf(hex, sizeof hex, "%X", static_cast<unsigned>(bytes[static_cast<std::size_t>(i)]));
        digits += hex;
    }
    // Up to eight digits: "&h" makes a 32-bit number, whose top bit is its sign.
    const auto value = static_cast<std::uint32_t>(std::stoul(digits, nullptr, 16));
    return std::to_string(static_cast<std::int32_t>(value));
}

} // namespace station

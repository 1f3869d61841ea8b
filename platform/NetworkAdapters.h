#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace station {

/// The PC's network adapters with their physical (hardware) addresses.
class NetworkAdapters {
public:
    struct Adapter {
        std::string name;
        std::vector<std::uint8_t> address;
    };
    virtual ~NetworkAdapters() = default;
    /// Adapters in the system's enumeration order, loopback left out.
    virtual std::vector<Adapter> list() = 0;
};

} // namespace station

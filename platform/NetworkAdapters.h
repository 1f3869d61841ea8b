#pragma once
#include "core/StationIdentity.h"

#include <vector>

namespace station {

/// The PC's network adapters with their physical (hardware) addresses.
class NetworkAdapters {
public:
    using Adapter = NetworkAdapter;
    virtual ~NetworkAdapters() = default;
    /// Adapters in the system's enumeration order, loopback left out.
    virtual std::vector<Adapter> list() = 0;
};

} // namespace station

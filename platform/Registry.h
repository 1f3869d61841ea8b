#pragma once
#include <optional>
#include <string>

namespace station {

/// Read-only access to the local-machine registry; empty on platforms without one.
class Registry {
public:
    virtual ~Registry() = default;
    /// Whether this system has a registry at all.
    virtual bool present() const = 0;
    /// The value `name` of `key` under the local-machine hive, as text, or nothing.
    virtual std::optional<std::string> localMachineValue(const std::string& key, const std::string& name) = 0;
};

} // namespace station

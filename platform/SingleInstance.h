#pragma once

namespace station {

/// Guards against a second running copy of the program for the same user session.
class SingleInstance {
public:
    virtual ~SingleInstance() = default;
    /// True when this copy now holds the guard; false when another copy holds it. The guard is
    /// released when the object is destroyed or the process ends.
    virtual bool acquire() = 0;
};

} // namespace station

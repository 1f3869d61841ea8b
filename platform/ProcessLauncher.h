#pragma once
#include <string>

namespace station {

/// Starts programs without waiting for them. No shell is ever involved.
class ProcessLauncher {
public:
    enum class Show { Normal, Maximized };
    virtual ~ProcessLauncher() = default;
    /// Starts `commandLine` (program path first, then the arguments, quoted by the rules of the
    /// Windows C runtime) and returns whether the process started.
    virtual bool start(const std::string& commandLine, Show show) = 0;
};

} // namespace station

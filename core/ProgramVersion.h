#pragma once
#include "BuildConfig.h"

#include <string>

namespace station {

/// Major, minor and revision joined by ".", e.g. "2.1.14".
inline std::string programVersion() {
    return std::to_string(build::versionMajor) + "." + std::to_string(build::versionMinor) + "." +
           std::to_string(build::versionRevision);
}

inline constexpr const char* applicationTitle = "VORNETerminal";

} // namespace station

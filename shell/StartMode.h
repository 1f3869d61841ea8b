#pragma once
#include <string_view>

namespace station {

enum class StartMode {
    Station, ///< the main window
    Task,    ///< one job of the task window, then the program ends
};

/// Reads the command line: blank or "~~" with any text after it → station; anything else → a
/// task line.
StartMode decideStartMode(std::string_view commandLine);

} // namespace station

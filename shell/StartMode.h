#pragma once
#include <string>
#include <string_view>

namespace station {

enum class StartMode {
    Station, ///< the main window
    Task,    ///< one job of the task window, then the program ends
};

struct StartDecision {
    StartMode mode = StartMode::Station;
    std::string commandParameter; ///< the text after a leading "~~"
};

/// Reads the command line: blank → station; "~~" + text → station keeping the text; anything
/// else → a task line.
StartDecision decideStartMode(std::string_view commandLine);

} // namespace station

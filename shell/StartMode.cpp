#include "shell/StartMode.h"

#include "core/Text.h"

namespace station {

StartDecision decideStartMode(std::string_view commandLine) {
    const auto cmd = text::trim(commandLine);
    if (cmd.empty())
        return {};
    if (cmd.starts_with("~~")) {
        // The kept text is the untrimmed line from its third character: a caller's padding
        // inside it is data.
        const auto at = commandLine.find("~~");
        return {StartMode::Station, std::string(commandLine.substr(at + 2))};
    }
    return {StartMode::Task, {}};
}

} // namespace station

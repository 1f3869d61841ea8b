#include "shell/StartMode.h"

#include "core/Text.h"

namespace station {

StartMode decideStartMode(std::string_view commandLine) {
    const auto cmd = text::trim(commandLine);
    return cmd.empty() || cmd.starts_with("~~") ? StartMode::Station : StartMode::Task;
}

} // namespace station

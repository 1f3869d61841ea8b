#include "about/AboutBox.h"

#include "core/ProgramVersion.h"

#include <array>

namespace station {

namespace {

constexpr const char* toolKey = "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO";
constexpr const char* sharedToolsKey = "SOFTWARE\\Microsoft\\Shared Tools Location";

/// Information programs of Linux desktops, the most thorough first.
constexpr std::array<const char*, 3> linuxTools{"hardinfo2", "hardinfo", "kinfocenter"};

} // namespace

std::string aboutVersionText() {
    return "Version " + programVersion();
}

std::string aboutDescription() {
    return "Graphical Telnet Client Application\r\n"
           "VORNE Retail Systems, Inc.\r\n"
           "https://www.vorne.example\r\n"
           "https://helpdesk.vorne.example";
}

std::string aboutDisclaimer() {
    return "Warning: this computer program is protected by copyright law\r\n"
           "and international treaties. Unauthorized reproduction or\r\n"
           "distribution of this program, or any portion of it, may\r\n"
           "result in severe civil and criminal penalties, and will be\r\n"
           "prosecuted to the maximum extent possible under the law.\r\n"
           "Copyright (C) VORNE Retail Systems, Inc. All rights reserved.";
}

std::optional<std::string> systemInformationTool(Registry& registry, const FileExists& exists,
                                                 std::string_view searchPath) {
    if (registry.present()) {
        if (auto path = registry.localMachineValue(toolKey, "PATH"))
            return path;
        if (const auto folder = registry.localMachineValue(sharedToolsKey, "MSINFO")) {
            const std::string path = *folder + "\\MSINFO32.EXE";
            if (exists(path))
                return path;
        }
        return std::nullopt;
    }
    for (const char* tool : linuxTools) {
        std::string_view rest = searchPath;
        while (!rest.empty()) {
            const auto colon = rest.find(':');
            const auto folder = rest.substr(0, colon);
            rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
            if (folder.empty())
                continue;
            const std::string path = std::string(folder) + "/" + tool;
            if (exists(path))
                return path;
        }
    }
    return std::nullopt;
}

void StartSysInfo(Registry& registry, ProcessLauncher& launcher, Dialogs& dialogs, const FileExists& exists,
                  std::string_view searchPath) {
    const auto tool = systemInformationTool(registry, exists, searchPath);
    // The path may hold blanks ("Program Files"): quoted, it stays the program's name.
    if (!tool || !launcher.start("\"" + *tool + "\"", ProcessLauncher::Show::Normal))
        dialogs.message(sysInfoUnavailableText);
}

} // namespace station

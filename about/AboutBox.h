#pragma once
// The about box's texts and the launch of the system's information tool.
#include "platform/Dialogs.h"
#include "platform/ProcessLauncher.h"
#include "platform/Registry.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace station {

/// "Version " major.minor.revision.
std::string aboutVersionText();
/// The program, its maker and where to find them, one per line (CR LF between them).
std::string aboutDescription();
/// The legal warning, six lines.
std::string aboutDisclaimer();

inline constexpr const char* sysInfoUnavailableText = "System Information Is Unavailable At This Time";

/// Whether a file is there; the real one asks the file system.
using FileExists = std::function<bool(const std::string& path)>;

/// Where the system-information tool is. Windows keeps it in the registry: the path under the
/// tool's own key, else its folder under the shared tools' locations (when the program is
/// there). A system without a registry has none of these; there a known information program on
/// `searchPath` (the PATH, folders separated by ':') takes its place.
std::optional<std::string> systemInformationTool(Registry& registry, const FileExists& exists,
                                                 std::string_view searchPath);

/// Starts the tool in a normal window without waiting for it; says so when there is none.
void StartSysInfo(Registry& registry, ProcessLauncher& launcher, Dialogs& dialogs, const FileExists& exists,
                  std::string_view searchPath);

} // namespace station

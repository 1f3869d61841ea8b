#pragma once
#include "platform/Ports.h"
#include "platform/StationConfig.h"

#include <string>

namespace station {

/// The entry procedure and routines shared by several windows.
namespace Module1 {

/// Chooses the mode from the command line and runs it; returns the process exit code.
/// Needs a QApplication.
int Main(const std::string& commandLine, Ports& ports, const StationConfig& config);

} // namespace Module1
} // namespace station

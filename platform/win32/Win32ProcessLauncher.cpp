// Starts the telnet client with CreateProcessA and the command line exactly as built.
#include "platform/Adapters.h"

#include <vector>
#include <windows.h>

namespace station {
namespace {

class Win32ProcessLauncher : public ProcessLauncher {
public:
    bool start(const std::string& commandLine, Show show) override {
        // CreateProcessA may write into the command line, so it gets its own copy.
        std::vector<char> line(commandLine.begin(), commandLine.end());
        line.push_back('\0');
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESHOWWINDOW;
        startup.wShowWindow = static_cast<WORD>(show == Show::Maximized ? SW_SHOWMAXIMIZED : SW_SHOWNORMAL);
        PROCESS_INFORMATION process{};
        if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
            return false;
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        return true;
    }
};

} // namespace

std::unique_ptr<ProcessLauncher> makeProcessLauncher() {
    return std::make_unique<Win32ProcessLauncher>();
}

} // namespace station

// Starts the telnet client with CreateProcessW and the command line exactly as built: the
// program's own C runtime splits it into argv.
#include "platform/win32/WideText.h"

#include "platform/Adapters.h"

namespace station {
namespace {

class Win32ProcessLauncher : public ProcessLauncher {
public:
    bool start(const std::string& commandLine, Show show) override {
        // The line is UTF-8 (a program folder may be named with any letter); CreateProcessW may
        // write into it, so it is a buffer of its own with the terminator.
        std::wstring line = wide(commandLine);
        if (line.empty())
            return false;
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESHOWWINDOW;
        startup.wShowWindow = static_cast<WORD>(show == Show::Maximized ? SW_SHOWMAXIMIZED : SW_SHOWNORMAL);
        PROCESS_INFORMATION process{};
        if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
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

// A program the Win32 adapter tests start. It tells what it received, through the file named by
// STATION_CHILD_REPORT, so that its own command line stays exactly the one under test:
// - by default: how it was asked to show its window, then its argv as its C runtime split it;
// - with STATION_CHILD_MODE=guard: whether the single-instance guard STATION_CHILD_GUARD was
//   free (exit code 0) or held by another process (exit code 3).
#include "platform/win32/WideText.h"

#include "platform/Adapters.h"

#include <string>

namespace {

std::wstring environment(const wchar_t* name) {
    std::wstring value(32767, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

bool writeReport(const std::wstring& path, const std::string& text) {
    // Written aside and renamed, so the test never reads half a report.
    const std::wstring partial = path + L".part";
    const HANDLE file = CreateFileW(partial.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    const bool ok =
        WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) && written == text.size();
    CloseHandle(file);
    return ok && MoveFileExW(partial.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING);
}

} // namespace

int wmain(int argc, wchar_t** argv) {
    if (environment(L"STATION_CHILD_MODE") == L"guard") {
        const auto guard = station::makeSingleInstance(station::narrow(environment(L"STATION_CHILD_GUARD")));
        return guard->acquire() ? 0 : 3;
    }
    STARTUPINFOW startup{};
    GetStartupInfoW(&startup);
    std::string report = (startup.dwFlags & STARTF_USESHOWWINDOW) ? std::to_string(startup.wShowWindow) : "-";
    report += '\n';
    for (int i = 0; i < argc; ++i) {
        report += station::narrow(argv[i]);
        report += '\0';
    }
    return writeReport(environment(L"STATION_CHILD_REPORT"), report) ? 0 : 1;
}

// The telnet client's window on Windows: found by title, shown, brought forward, and its
// console font changed through the console it runs in.
#include "platform/Adapters.h"

#include <windows.h>

namespace station {
namespace {

HWND asWindow(ClientWindows::Handle h) {
    return reinterpret_cast<HWND>(h);
}

class Win32ClientWindows : public ClientWindows {
public:
    Handle findByTitle(const std::string& title) override {
        return reinterpret_cast<Handle>(FindWindowA(nullptr, title.c_str()));
    }

    void show(Handle window) override {
        if (window)
            ShowWindow(asWindow(window), SW_SHOW);
    }

    void bringForward(Handle window) override {
        if (window)
            SetForegroundWindow(asWindow(window));
    }

    void setConsoleFont(Handle window, int fontIndex) override {
        // SetConsoleFont is not in the headers or the import library: look it up each time and
        // give up silently where it is missing. Every step may fail without a word.
        using SetConsoleFontFn = BOOL(WINAPI*)(HANDLE, DWORD);
        const auto kernel = GetModuleHandleA("kernel32.dll");
        if (!kernel || !window)
            return;
        const auto setFont =
            reinterpret_cast<SetConsoleFontFn>(reinterpret_cast<void*>(GetProcAddress(kernel, "SetConsoleFont")));
        if (!setFont)
            return;
        DWORD processId = 0;
        GetWindowThreadProcessId(asWindow(window), &processId);
        if (!processId || !AttachConsole(processId))
            return;
        const auto out = GetStdHandle(static_cast<DWORD>(-11));
        if (out && out != INVALID_HANDLE_VALUE)
            setFont(out, static_cast<DWORD>(fontIndex));
        FreeConsole();
    }
};

} // namespace

std::unique_ptr<ClientWindows> makeClientWindows() {
    return std::make_unique<Win32ClientWindows>();
}

} // namespace station

// The telnet client's window on Windows: found by its exact title, shown, brought forward, and
// its console font changed through the console it runs in.
#include "platform/win32/WideText.h"

#include "platform/Adapters.h"

namespace station {
namespace {

HWND asWindow(ClientWindows::Handle h) {
    return reinterpret_cast<HWND>(h);
}

struct TitleSearch {
    std::wstring title;
    HWND found = nullptr;
};

BOOL CALLBACK matchTitle(HWND window, LPARAM context) {
    auto& search = *reinterpret_cast<TitleSearch*>(context);
    const int length = GetWindowTextLengthW(window);
    if (length != static_cast<int>(search.title.size()))
        return TRUE;
    // One more for the terminator GetWindowTextW always writes.
    std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
    text.resize(static_cast<std::size_t>(GetWindowTextW(window, text.data(), length + 1)));
    if (text != search.title)
        return TRUE;
    search.found = window;
    return FALSE;
}

class Win32ClientWindows : public ClientWindows {
public:
    Handle findByTitle(const std::string& title) override {
        // FindWindowW compares titles without regard to letter case, and a store's client must
        // not be taken for another's whose name differs only in case: every top-level window is
        // compared here, in the order FindWindowW would visit them.
        TitleSearch search{wide(title)};
        if (search.title.empty())
            return 0;
        EnumWindows(matchTitle, reinterpret_cast<LPARAM>(&search));
        return reinterpret_cast<Handle>(search.found);
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
        const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
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
        const HANDLE out = GetStdHandle(STD_OUTPUT_HANDLE);
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

// One copy per user session: a named mutex in the session's own namespace. Windows removes it
// with the last handle, so a crashed copy never leaves a stale guard.
#include "platform/win32/WideText.h"

#include "platform/Adapters.h"
#include "platform/SingleInstance.h"

#include <string>

namespace station {
namespace {

/// The kernel object name of the guard `name`. A backslash after the namespace prefix would
/// name a folder, so it is written as %5C, and % itself as %25: different names never meet in
/// one guard ("a\b" and "a%5Cb" stay apart).
std::wstring singleInstanceObjectName(const std::string& name) {
    std::string escaped;
    for (const char c : name) {
        if (c == '\\')
            escaped += "%5C";
        else if (c == '%')
            escaped += "%25";
        else
            escaped += c;
    }
    return L"Local\\" + wide(escaped);
}

class Win32SingleInstance final : public SingleInstance {
public:
    explicit Win32SingleInstance(const std::string& name) : m_name(singleInstanceObjectName(name)) {}

    Win32SingleInstance(const Win32SingleInstance&) = delete;
    Win32SingleInstance& operator=(const Win32SingleInstance&) = delete;

    ~Win32SingleInstance() override {
        if (m_mutex)
            CloseHandle(m_mutex);
    }

    bool acquire() override {
        if (m_mutex)
            return true;
        HANDLE mutex = CreateMutexW(nullptr, FALSE, m_name.c_str());
        const DWORD error = GetLastError();
        if (!mutex) {
            // Access denied: a copy running with other rights holds it. Any other failure leaves
            // no guard to take, and that must not keep the user out of the program.
            return error != ERROR_ACCESS_DENIED;
        }
        if (error == ERROR_ALREADY_EXISTS) {
            CloseHandle(mutex);
            return false;
        }
        m_mutex = mutex;
        return true;
    }

private:
    std::wstring m_name;
    HANDLE m_mutex = nullptr;
};

} // namespace

std::unique_ptr<SingleInstance> makeSingleInstance(const std::string& name) {
    return std::make_unique<Win32SingleInstance>(name);
}

} // namespace station

// One copy per user session: a named mutex in the session's own namespace. Windows removes it
// with the last handle, so a crashed copy never leaves a stale guard.
#include "platform/Adapters.h"
#include "platform/SingleInstance.h"

#include <windows.h>

#include <algorithm>
#include <string>

namespace station {

namespace {

class Win32SingleInstance final : public SingleInstance {
public:
    // A backslash after the namespace prefix is not allowed in an object name.
    explicit Win32SingleInstance(std::string name) : m_name("Local\\") {
        std::replace(name.begin(), name.end(), '\\', '_');
        m_name += name;
    }

    Win32SingleInstance(const Win32SingleInstance&) = delete;
    Win32SingleInstance& operator=(const Win32SingleInstance&) = delete;

    ~Win32SingleInstance() override {
        if (m_mutex)
            CloseHandle(m_mutex);
    }

    bool acquire() override {
        if (m_mutex)
            return true;
        HANDLE mutex = CreateMutexA(nullptr, FALSE, m_name.c_str());
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
    std::string m_name;
    HANDLE m_mutex = nullptr;
};

} // namespace

std::unique_ptr<SingleInstance> makeSingleInstance(const std::string& name) {
    return std::make_unique<Win32SingleInstance>(name);
}

} // namespace station

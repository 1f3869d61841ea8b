// Shared libraries through LoadLibraryW: the path is UTF-8 inside the station and UTF-16 for
// the system, so a folder with letters beyond ASCII loads too.
#include "platform/win32/WideText.h"

#include "platform/Adapters.h"

namespace station {
namespace {

class Win32Library final : public SharedLibraries::Library {
public:
    explicit Win32Library(HMODULE module) : m_module(module) {}
    ~Win32Library() override { FreeLibrary(m_module); }
    Win32Library(const Win32Library&) = delete;
    Win32Library& operator=(const Win32Library&) = delete;

    SharedLibraries::Function function(const char* name) const override {
        return reinterpret_cast<SharedLibraries::Function>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
    }

private:
    HMODULE m_module;
};

class Win32Libraries final : public SharedLibraries {
public:
    std::unique_ptr<Library> load(const std::string& path) override {
        const HMODULE module = LoadLibraryW(wide(path).c_str());
        if (!module)
            throw LoadError(systemMessage(GetLastError()));
        return std::make_unique<Win32Library>(module);
    }
};

} // namespace

std::unique_ptr<SharedLibraries> makeSharedLibraries() {
    return std::make_unique<Win32Libraries>();
}

} // namespace station

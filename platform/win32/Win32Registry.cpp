// Registry reads for the system-information tool. The key is opened with full access rights
// (0x2003F): on a machine where the user may not write that key the open fails and the tool
// counts as unavailable, as it always has. The key is closed on every path.
#include "platform/win32/WideText.h"

#include "platform/Adapters.h"
#include "platform/RegistryText.h"

#include <vector>

namespace station {
namespace {

constexpr REGSAM fullAccess = 0x2003F; // KEY_ALL_ACCESS without SYNCHRONIZE
constexpr DWORD bufferCharacters = 1024;

class OpenKey {
public:
    OpenKey(HKEY root, const std::wstring& path) {
        if (RegOpenKeyExW(root, path.c_str(), 0, fullAccess, &m_key) != ERROR_SUCCESS)
            m_key = nullptr;
    }
    ~OpenKey() {
        if (m_key)
            RegCloseKey(m_key);
    }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    HKEY get() const { return m_key; }

private:
    HKEY m_key = nullptr;
};

class Win32Registry final : public Registry {
public:
    bool present() const override { return true; }

    std::optional<std::string> localMachineValue(const std::string& key, const std::string& name) override {
        const OpenKey open(HKEY_LOCAL_MACHINE, wide(key));
        if (!open.get())
            return std::nullopt;
        std::vector<wchar_t> buffer(bufferCharacters, L'\0');
        DWORD type = 0;
        DWORD size = bufferCharacters * sizeof(wchar_t);
        if (RegQueryValueExW(open.get(), wide(name).c_str(), nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()),
                             &size) != ERROR_SUCCESS)
            return std::nullopt;
        if (type == REG_SZ) {
            // Up to the terminating NUL, which a stored value may or may not carry.
            const std::wstring_view text(buffer.data(), size / sizeof(wchar_t));
            return narrow(text.substr(0, text.find(L'\0')));
        }
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(buffer.data());
        return registryValueText(type, std::vector<std::uint8_t>(bytes, bytes + size));
    }
};

} // namespace

std::unique_ptr<Registry> makeRegistry() {
    return std::make_unique<Win32Registry>();
}

} // namespace station

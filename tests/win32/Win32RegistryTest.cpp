// The registry adapter against the real registry (Wine's in the cross check): strings and numbers
// read by the station's rules, missing keys and values, a key the station may only read.
#include "platform/win32/WideText.h"

#include "platform/Adapters.h"

#include <gtest/gtest.h>

namespace station {
namespace {

const std::wstring testKey = L"SOFTWARE\\VORNE Station Test " + std::to_wstring(GetCurrentProcessId());

class Win32Registry : public ::testing::Test {
protected:
    void SetUp() override {
        HKEY opened = nullptr;
        ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, testKey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &opened,
                                  nullptr),
                  ERROR_SUCCESS);
        const std::wstring path = L"C:\\Program Files\\Caf\u00e9\\msinfo32.exe";
        RegSetValueExW(opened, L"PATH", 0, REG_SZ, reinterpret_cast<const BYTE*>(path.c_str()),
                       static_cast<DWORD>((path.size() + 1) * sizeof(wchar_t)));
        const DWORD number = 0x1234;
        RegSetValueExW(opened, L"Number", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
        const BYTE binary[] = {1, 2, 3};
        RegSetValueExW(opened, L"Binary", 0, REG_BINARY, binary, sizeof binary);
        RegCloseKey(opened);
    }
    void TearDown() override { RegDeleteKeyW(HKEY_LOCAL_MACHINE, testKey.c_str()); }

    std::unique_ptr<Registry> registry = makeRegistry();
    std::string key = narrow(testKey);
};

TEST_F(Win32Registry, ReadsStringsAndNumbersAndNothingElse) {
    EXPECT_TRUE(registry->present());
    EXPECT_EQ(registry->localMachineValue(key, "PATH"), "C:\\Program Files\\Caf\xc3\xa9\\msinfo32.exe");
    EXPECT_EQ(registry->localMachineValue(key, "Number"), "4660");
    EXPECT_EQ(registry->localMachineValue(key, "Binary"), std::nullopt);
    EXPECT_EQ(registry->localMachineValue(key, "Missing"), std::nullopt);
    EXPECT_EQ(registry->localMachineValue(key + "\\Missing", "PATH"), std::nullopt);
}

} // namespace
} // namespace station

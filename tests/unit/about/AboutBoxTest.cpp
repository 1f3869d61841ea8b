#include "about/AboutBox.h"

#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>
#include <set>

namespace station {
namespace {

const std::pair<std::string, std::string> toolPath{"SOFTWARE\\Microsoft\\Shared Tools\\MSINFO", "PATH"};
const std::pair<std::string, std::string> sharedTools{"SOFTWARE\\Microsoft\\Shared Tools Location", "MSINFO"};

TEST(SystemInformation, RegistryFirstTheToolsKeyThenTheSharedFolderWhenTheFileIsThere) {
    struct Case {
        std::map<std::pair<std::string, std::string>, std::string> values;
        std::set<std::string> files;
        std::optional<std::string> tool;
    };
    const std::vector<Case> cases{
        {{{toolPath, "C:\\msinfo.exe"}, {sharedTools, "D:\\tools"}}, {}, "C:\\msinfo.exe"},
        {{{sharedTools, "D:\\tools"}}, {"D:\\tools\\MSINFO32.EXE"}, "D:\\tools\\MSINFO32.EXE"},
        {{{sharedTools, "D:\\tools"}}, {}, std::nullopt},
        {{}, {"/usr/bin/hardinfo"}, std::nullopt},
    };
    for (const auto& c : cases) {
        test::FakeRegistry registry;
        registry.values = c.values;
        const auto exists = [&](const std::string& path) { return c.files.count(path) > 0; };
        EXPECT_EQ(systemInformationTool(registry, exists, "/usr/bin"), c.tool);
    }
}

TEST(SystemInformation, WithoutRegistryAKnownProgramOnThePath) {
    test::FakeRegistry registry;
    registry.exists = false;
    std::set<std::string> files{"/opt/x/bin/hardinfo", "/usr/bin/kinfocenter"};
    const auto exists = [&](const std::string& path) { return files.count(path) > 0; };
    EXPECT_EQ(systemInformationTool(registry, exists, "/usr/local/bin::/opt/x/bin:/usr/bin"), "/opt/x/bin/hardinfo");
    files.clear();
    EXPECT_EQ(systemInformationTool(registry, exists, "/usr/bin"), std::nullopt);
}

TEST(SystemInformation, StartsTheToolQuotedOrSaysItIsUnavailable) {
    test::FakePorts fake;
    fake.registry.values[toolPath] = "C:\\Program Files\\msinfo32.exe";
    const auto none = [](const std::string&) { return false; };
    StartSysInfo(fake.registry, fake.processLauncher, fake.dialogs, none, "");
    ASSERT_EQ(fake.processLauncher.started.size(), 1u);
    EXPECT_EQ(fake.processLauncher.started[0].first, "\"C:\\Program Files\\msinfo32.exe\"");
    EXPECT_EQ(fake.processLauncher.started[0].second, ProcessLauncher::Show::Normal);
    EXPECT_TRUE(fake.dialogs.shown.empty());

    fake.processLauncher.succeed = false;
    StartSysInfo(fake.registry, fake.processLauncher, fake.dialogs, none, "");
    fake.registry.values.clear();
    StartSysInfo(fake.registry, fake.processLauncher, fake.dialogs, none, "");
    ASSERT_EQ(fake.dialogs.shown.size(), 2u);
    for (const auto& shown : fake.dialogs.shown) {
        EXPECT_EQ(shown.text, "System Information Is Unavailable At This Time");
        EXPECT_EQ(shown.buttons, Dialogs::Buttons::Ok);
    }
}

} // namespace
} // namespace station

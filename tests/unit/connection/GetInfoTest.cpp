// The "Get External Data" decisions against real files in a temporary folder, the dialogs faked.
#include "connection/GetInfo.h"

#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

namespace station {
namespace {

namespace fs = std::filesystem;

class GetInfoTest : public testing::Test {
protected:
    void SetUp() override {
        folder = fs::temp_directory_path() / ("getinfo-" + std::to_string(std::random_device{}()));
        fs::create_directories(folder);
        settings = {"user", "pw", "10.0.0.1", "", "3", ""};
    }
    void TearDown() override { fs::remove_all(folder); }

    fs::path folder;
    test::FakePorts fake;
    ConnectionSettings settings;
    GetInfo window{fake.dialogs, settings, "/opt/station/"};
};

TEST_F(GetInfoTest, SavedValuesLoadBackCutToThirtyAndTrimmedWithoutTouchingTheSettings) {
    const auto file = (folder / "store.xml").string();
    fake.dialogs.fileAnswer = file;
    const ConnectionBoxes typed{std::string(35, 'u'), "secret  ", "10.0.0.9", "", " 12"};
    window.cmdSave_Click(typed);
    EXPECT_EQ(fake.dialogs.texts(), std::vector<std::string>{"Saved to " + file});
    EXPECT_EQ(settings.filePath, file);
    EXPECT_EQ(settings.domain, ".") << "an empty domain setting becomes \".\" on saving";

    const auto loaded = window.populate();
    ASSERT_TRUE(loaded);
    EXPECT_EQ(*loaded, (ConnectionBoxes{std::string(30, 'u'), "secret", "10.0.0.9", "", "12"}));
    EXPECT_EQ(settings.userName, "user") << "only login hands the values over";

    window.cmdLogin_Click(*loaded);
    EXPECT_EQ(settings.userName, std::string(30, 'u'));
    EXPECT_EQ(settings.hostAddress, "10.0.0.9");
    EXPECT_EQ(settings.domain, ".");
    EXPECT_EQ(settings.stationNumber, "12");
}

TEST_F(GetInfoTest, SavingReplacesAnExistingFileWhole) {
    const auto file = folder / "store.xml";
    std::ofstream(file) << std::string(20000, 'x');
    fake.dialogs.fileAnswer = file.string();
    ASSERT_TRUE(window.SaveLocal({"a", "b", "c", "d", "e"}));
    EXPECT_EQ(window.populate()->userName, "a");
}

TEST_F(GetInfoTest, SaveWhereNoFileCanBeWrittenSaysSoAndKeepsTheLastFile) {
    settings.filePath = "/srv/last.xml";
    const auto file = (folder / "missing" / "store.xml").string();
    fake.dialogs.fileAnswer = file;
    EXPECT_FALSE(window.cmdSave_Click({"a", "b", "c", "d", "e"}));
    ASSERT_EQ(fake.dialogs.texts(), std::vector<std::string>{"The connection could not be saved to " + file});
    EXPECT_EQ(fake.dialogs.shown[0].icon, Dialogs::Icon::Critical);
    EXPECT_EQ(settings.filePath, "/srv/last.xml");
}

struct LoadCase {
    const char* name;
    const char* content; ///< nullptr: no file; "": no file chosen
    const char* message;
    bool pathRemembered;
};

class LoadFailures : public GetInfoTest, public testing::WithParamInterface<LoadCase> {};

TEST_P(LoadFailures, ChangeNoBoxAndSayWhy) {
    const auto& c = GetParam();
    const auto file = folder / "chosen.xml";
    fake.dialogs.fileAnswer = c.content && !*c.content ? "" : file.string();
    if (c.content && *c.content)
        std::ofstream(file) << c.content;
    settings.filePath = "before.xml";
    EXPECT_FALSE(window.populate());
    ASSERT_EQ(fake.dialogs.texts().size(), 1u);
    EXPECT_EQ(fake.dialogs.texts()[0].find(c.message), 0u) << fake.dialogs.texts()[0];
    EXPECT_EQ(settings.filePath, c.pathRemembered ? file.string() : "before.xml");
    EXPECT_EQ(settings.userName, "user");
}

INSTANTIATE_TEST_SUITE_P(Table, LoadFailures,
                         testing::Values(LoadCase{"NothingChosen", "", "No connection file was selected", false},
                                         LoadCase{"FileMissing", nullptr, "Can not populate there is no local file",
                                                  true},
                                         LoadCase{"NotARowset", "<html><body>hello</body></html>", "", false}),
                         [](const auto& param) { return std::string(param.param.name); });

TEST_F(GetInfoTest, NotARowsetNamesTheFileAndTheReason) {
    const auto file = folder / "page.xml";
    std::ofstream(file) << "<html/>";
    fake.dialogs.fileAnswer = file.string();
    window.populate();
    ASSERT_EQ(fake.dialogs.texts().size(), 1u);
    EXPECT_EQ(fake.dialogs.texts()[0],
              file.string() + " could not be loaded: it is not a saved recordset (no rowset schema)");
}

TEST_F(GetInfoTest, SavingWithoutAFileNameSavesNothing) {
    fake.dialogs.fileAnswer = "";
    window.cmdSave_Click({"a", "b", "c", "d", "e"});
    EXPECT_EQ(fake.dialogs.texts(), std::vector<std::string>{"No filename was selected, connection not saved"});
    EXPECT_EQ(settings.filePath, "");
}

TEST(GetInfoDialogs, OpenAndSaveAskWithTheirFiltersWhereTheUserExpects) {
    struct Recording : test::FakeDialogs {
        std::vector<std::pair<std::string, std::string>> asked;
        std::string openFile(const std::string& folder, const std::string& filter) override {
            asked.emplace_back(folder, filter);
            return {};
        }
        std::string saveFile(const std::string& name, const std::string& filter) override {
            asked.emplace_back(name, filter);
            return {};
        }
    } dialogs;
    ConnectionSettings settings{"u", "p", "h", "d", "s", "/srv/last.xml"};
    GetInfo window{dialogs, settings, "/opt/station/"};
    window.populate();
    window.SaveLocal({});
    EXPECT_EQ(dialogs.asked,
              (std::vector<std::pair<std::string, std::string>>{{"/opt/station/", "Open Connections | *.XML"},
                                                                {"/srv/last.xml", "Connection File | *.xml"}}));
}

TEST_F(GetInfoTest, LoginTrimsTheBoxesAndPutsADotForAnEmptyDomain) {
    window.cmdLogin_Click({" a ", " b", "c ", "   ", " 5 "});
    EXPECT_EQ(settings.userName, "a");
    EXPECT_EQ(settings.password, "b");
    EXPECT_EQ(settings.hostAddress, "c");
    EXPECT_EQ(settings.domain, ".");
    EXPECT_EQ(settings.stationNumber, "5");
    window.cmdLogin_Click({"a", "b", "c", "CORP", "5"});
    EXPECT_EQ(settings.domain, "CORP");
}

} // namespace
} // namespace station

#include "tools/devservice/Commands.h"
#include "tools/devservice/Handlers.h"

#include "TempFolder.h"

#include <gtest/gtest.h>

#include <sstream>

namespace devservice {
namespace {

class CommandsTest : public testing::Test {
protected:
    int run(std::vector<std::string> args) {
        out.str({});
        err.str({});
        args.insert(args.begin() + 1, {"--db", db});
        return runCommand(args, out, err, [] { return true; });
    }
    std::vector<std::string> lines() const {
        std::vector<std::string> result;
        std::istringstream in(out.str());
        for (std::string line; std::getline(in, line);)
            result.push_back(line);
        return result;
    }
    std::string ask(const std::string& body) {
        Database database(db);
        return Handlers(database).reply(std::string_view(body));
    }

    test::TempFolder folder;
    std::string db = folder.file("service.db");
    std::ostringstream out, err;
};

TEST_F(CommandsTest, SeedForAStationReplacesItsStores) {
    ASSERT_EQ(run({"seed", "--station", "00-1A-2B-3C-4D-5E", "--stores", "300"}), 0) << err.str();
    ASSERT_EQ(run({"stores", "--station", "001A2B3C4D5E"}), 0);
    EXPECT_EQ(lines().size(), 300u) << "dashes are removed as the station removes them";
    ASSERT_EQ(run({"seed", "--station", "001A2B3C4D5E", "--stores", "301"}), 0);
    run({"stores"});
    EXPECT_EQ(lines().size(), 301u);
}

TEST_F(CommandsTest, SeedWithoutStationSetsCountForKnownAndNewStations) {
    ask("mac=OLD");
    ASSERT_EQ(run({"seed", "--stores", "2"}), 0) << err.str();
    ask("mac=NEW");
    run({"stores"});
    EXPECT_EQ(lines().size(), 4u);
}

TEST_F(CommandsTest, SeedWritesSampleFiles) {
    ASSERT_EQ(run({"seed", "--files", folder.file("files")}), 0) << err.str();
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "files/Reports/12345/1234500001/daily.txt"));
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "files/rdp/rdpupdate.ini"));
    run({"seed"});
    EXPECT_TRUE(std::filesystem::exists(defaultFilesFolder(db) + "/rdp/setup.exe"));
}

TEST_F(CommandsTest, ShutdownAndReopenDriveTheMaintenancePoll) {
    ask("mac=AABB");
    EXPECT_EQ(ask("store=1"), "");
    ASSERT_EQ(run({"shutdown", "STORE02"}), 0);
    EXPECT_TRUE(err.str().empty());
    run({"shutdown", "NOSUCH"});
    EXPECT_NE(err.str().find("NOSUCH"), std::string::npos) << "an unknown key is noted";
    EXPECT_EQ(ask("store=1"), "STORE02|NOSUCH|");
    run({"reopen", "STORE02"});
    EXPECT_EQ(ask("store=1"), "NOSUCH|");
}

TEST_F(CommandsTest, SetUpdateForDefaultAndStationAndRemoval) {
    run({"set-update", "http://h/rdp"});
    run({"set-update", "--station", "AA-BB", "http://s/rdp"});
    EXPECT_EQ(ask("upd1=AABB"), "x|http://s/rdp|");
    EXPECT_EQ(ask("upd1=CC"), "x|http://h/rdp|");
    run({"set-update", ""});
    EXPECT_EQ(ask("upd1=CC"), "");
}

TEST_F(CommandsTest, ListingsKeepOneRecordPerLine) {
    ask("h=1&hd=e@x|N|1|234|5000|S|line1\r\nline2|555|O|STORE|24|");
    ask("prtupt=A&amp;B|||||X|AABB|");
    ASSERT_EQ(run({"tickets"}), 0);
    ASSERT_EQ(lines().size(), 1u);
    EXPECT_NE(lines()[0].find("line1\\r\\nline2"), std::string::npos);
    ASSERT_EQ(run({"settings", "--station", "AABB"}), 0);
    EXPECT_EQ(out.str(), "AABB\tA&amp;B|||||X|\n");
    EXPECT_EQ(run({"settings", "--station", "NONE"}), 1);
}

TEST_F(CommandsTest, OnCallListIsReplacedAndUploadFoldersListed) {
    EXPECT_EQ(run({"set-oncall", "a@x", "b@x"}), 0);
    EXPECT_EQ(ask("h=1&oncall=1"), "a@x|b@x|");
    EXPECT_EQ(run({"set-oncall"}), 0);
    EXPECT_EQ(ask("h=1&oncall=1"), "");
    ask("insertupload=AABB|C:\\out|");
    ask("insertupload=CCDD|/srv/x|");
    ASSERT_EQ(run({"uploads"}), 0);
    ASSERT_EQ(lines().size(), 2u);
    EXPECT_EQ(lines()[0].substr(lines()[0].find('\t')), "\tAABB\tC:\\\\out");
}

TEST_F(CommandsTest, SetReplyAndClearReply) {
    run({"set-reply", "--station", "AABB", "broken|"});
    EXPECT_EQ(ask("mac=AABB"), "broken|");
    run({"clear-reply", "--station", "AABB"});
    EXPECT_NE(ask("mac=AABB"), "broken|");
}

TEST_F(CommandsTest, BadUsageExitsWithTwoAndShowsUsage) {
    for (const auto& args : std::vector<std::vector<std::string>>{{"frobnicate"},
                                                                  {"shutdown"},
                                                                  {"seed", "--stores", "many"},
                                                                  {"seed", "--stores", "-1"},
                                                                  {"tickets", "--unknown", "x"},
                                                                  {"serve", "--port", "70000"}}) {
        EXPECT_EQ(run(args), 2) << args[0];
        EXPECT_NE(err.str().find("usage:"), std::string::npos);
    }
    std::ostringstream o, e;
    EXPECT_EQ(runCommand({}, o, e, [] { return true; }), 2);
}

} // namespace
} // namespace devservice

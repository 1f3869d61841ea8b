// Program updates through the real logic, with the service, the update server, the download to
// disk and the signature check faked; files go to a real temporary program folder.
#include "tests/unit/update/ProgramUpdatesFixture.h"

namespace station {
namespace {

TEST_F(ProgramUpdatesTest, ANewerReleaseIsDownloadedShownStartedAndTheProgramEnds) {
    // Longer leftovers of an earlier release must not survive under the new bytes.
    writeFile(install("Setup.exe"), std::string(5000, 'x'));
    writeFile(install("Readme.txt"), std::string(5000, 'y'));
    auto& u = updates();
    u.CheckProgramUpdates("001122334455");

    EXPECT_EQ(fake.http.bodies().front(), "upd1=001122334455");
    EXPECT_EQ(readFile(install("Setup.exe")), fake.downloader.file);
    EXPECT_EQ(readFile(install("Readme.txt")), "release notes\r\n");
    EXPECT_FALSE(fs::exists(u.partialFile()));
    ASSERT_EQ(fake.downloader.requests.size(), 1u);
    EXPECT_EQ(fake.downloader.requests[0].url, "http://upd.test/rdp/setup.exe");
    EXPECT_EQ(fake.downloader.requests[0].resumeFrom, 0u);

    ASSERT_EQ(fake.dialogs.texts(),
              std::vector<std::string>{
                  "A new version of the VORNE Terminal has been pushed down to this station.  If you are on the POS "
                  "you need to exit from it. Once you do that press OK to install this update. "});
    EXPECT_EQ(fake.dialogs.shown[0].title, "New Update to Install");
    EXPECT_EQ(fake.dialogs.shown[0].icon, Dialogs::Icon::Critical);
    ASSERT_EQ(fake.processLauncher.started.size(), 1u);
    EXPECT_EQ(fake.processLauncher.started[0].first, "\"" + install("Setup.exe").string() + "\"");
    EXPECT_EQ(fake.processLauncher.started[0].second, ProcessLauncher::Show::Maximized);
    EXPECT_TRUE(view.ended);
    EXPECT_TRUE(u.ended());
    EXPECT_FALSE(view.timer) << "an ended program does not tick again";
    EXPECT_EQ(view.status, "");
    EXPECT_FALSE(view.firstButton);
    EXPECT_EQ(view.value, 768);
    EXPECT_EQ(view.maximum, 768);
    // The description is read once to decide and once more for the download.
    EXPECT_EQ(fetches("http://upd.test/rdp/rdpupdate.ini"), 2);
}

// The rows of the failure table: what the operator sees and whether anything was started.
struct FailureCase {
    const char* name;
    std::function<void(ProgramUpdatesTest&)> arrange;
    const char* status;
    bool buttonEnabled;
    bool installerWritten;
};

class UpdateFailures : public ProgramUpdatesTest, public testing::WithParamInterface<FailureCase> {};

TEST_P(UpdateFailures, EndAsTheTableSaysWithTheTimerRunningAndNothingStarted) {
    GetParam().arrange(*this);
    updates().CheckProgramUpdates("001122334455");
    EXPECT_EQ(view.status, GetParam().status);
    EXPECT_EQ(view.firstButton, GetParam().buttonEnabled);
    EXPECT_EQ(fs::exists(install("Setup.exe")), GetParam().installerWritten);
    EXPECT_TRUE(view.timer);
    EXPECT_TRUE(fake.processLauncher.started.empty());
    EXPECT_TRUE(fake.dialogs.shown.empty());
    EXPECT_FALSE(view.ended);
}

INSTANTIATE_TEST_SUITE_P(
    Table, UpdateFailures,
    testing::Values(
        FailureCase{"NoAddressEver", [](ProgramUpdatesTest& f) { f.address = "x| |"; }, "old status", true, false},
        FailureCase{"DescriptionUnreachable", [](ProgramUpdatesTest& f) { f.describe = false; },
                    "Communications Error Check Line", true, false},
        FailureCase{"NoVersionLine",
                    [](ProgramUpdatesTest& f) { f.description = "ReadMe=http://upd.test/notes.txt\r\n"; }, "old status",
                    true, false},
        FailureCase{"SameVersion", [](ProgramUpdatesTest& f) { f.description = "Version =2.01\r\n"; }, "old status",
                    true, false},
        FailureCase{"InstallerUnreachable", [](ProgramUpdatesTest& f) { f.fake.downloader.refuse = true; },
                    "Downloading a new release...", false, false},
        FailureCase{"InstallFolderUnwritable",
                    [](ProgramUpdatesTest& f) { writeFile(f.folder / "_Install", "a file, not a folder"); },
                    "Communications Error Check Line", false, false},
        FailureCase{"ReadMeMissing", [](ProgramUpdatesTest& f) { f.description = "Version =2.02\r\n"; },
                    "Communications Error Check Line", false, true},
        FailureCase{"ReadMeUnreachable",
                    [](ProgramUpdatesTest& f) { f.description = "Version =2.02\r\nReadMe=http://gone.test/\r\n"; },
                    "Communications Error Check Line", false, true}),
    [](const auto& param) { return std::string(param.param.name); });

TEST_F(ProgramUpdatesTest, ABlankAddressKeepsTheOneFromTheCheckBefore) {
    auto& u = updates();
    description = "Version =2.01\r\n";
    u.CheckProgramUpdates("1");
    address = "x|  |";
    u.CheckProgramUpdates("1");
    EXPECT_EQ(u.baseAddress(), "http://upd.test/rdp");
    EXPECT_EQ(fetches("http://upd.test/rdp/rdpupdate.ini"), 2);
    address = "x|http://other.test/rdp|";
    u.CheckProgramUpdates("1");
    EXPECT_EQ(u.baseAddress(), "http://other.test/rdp");
}

TEST_F(ProgramUpdatesTest, ABrokenTransferIsContinuedByTheNextCheckUnderTheServersValidator) {
    auto& u = updates();
    fake.downloader.breakAt = 300;
    u.CheckProgramUpdates("1");
    EXPECT_EQ(readFile(u.partialFile()), fake.downloader.file.substr(0, 300)) << "the part that arrived is kept";
    EXPECT_FALSE(fs::exists(install("Setup.exe")));
    EXPECT_TRUE(fake.processLauncher.started.empty());

    fake.downloader.breakAt.reset();
    u.CheckProgramUpdates("1");
    ASSERT_EQ(fake.downloader.requests.size(), 2u);
    EXPECT_EQ(fake.downloader.requests[1].resumeFrom, 300u);
    EXPECT_EQ(fake.downloader.requests[1].ifRange, "\"v1\"");
    EXPECT_EQ(readFile(install("Setup.exe")), fake.downloader.file);
    EXPECT_EQ(fake.processLauncher.started.size(), 1u);
}

TEST_F(ProgramUpdatesTest, APartOfAReleaseTheServerNoLongerHoldsIsReplacedByTheWholeNewFile) {
    auto& u = updates();
    fake.downloader.breakAt = 300;
    u.CheckProgramUpdates("1");
    fake.downloader.breakAt.reset();
    fake.downloader.validator = "\"v2\"";
    std::string release(1000, '\0');
    for (std::size_t i = 0; i < release.size(); ++i)
        release[i] = static_cast<char>(255 - i % 256);
    fake.downloader.file = release;
    u.CheckProgramUpdates("1");
    EXPECT_EQ(readFile(install("Setup.exe")), release);
}

TEST_F(ProgramUpdatesTest, APartTheServerCannotContinueIsDroppedAndTheNextCheckStartsOver) {
    auto& u = updates();
    writeFile(u.partialFile(), std::string(2000, 'x')); // longer than the release now offered
    writeFile(fs::path(u.partialFile()) += ".validator", "\"v1\"\n");
    u.CheckProgramUpdates("1");
    EXPECT_EQ(fake.downloader.requests.at(0).resumeFrom, 2000u);
    EXPECT_FALSE(fs::exists(u.partialFile()));
    EXPECT_TRUE(fake.processLauncher.started.empty());
    u.CheckProgramUpdates("1");
    EXPECT_EQ(fake.downloader.requests.at(1).resumeFrom, 0u);
    EXPECT_EQ(readFile(install("Setup.exe")), fake.downloader.file);
}

TEST_F(ProgramUpdatesTest, WithoutAKeyBuiltInNoSignatureIsAskedFor) {
    updates().CheckProgramUpdates("1");
    EXPECT_EQ(fetches("http://upd.test/rdp/setup.exe.minisig"), 0);
    EXPECT_EQ(fake.processLauncher.started.size(), 1u);
}

TEST_F(ProgramUpdatesTest, WhereTheProgramsFolderCannotBeWrittenTheUsersFolderTakesTheInstaller) {
    writeFile(folder / "_Install", "a file, not a folder");
    const auto user = folder / "user";
    ProgramUpdates u(service, fake.ports, view, {folder.string() + "/", "2.01", {}, user.string()});
    u.CheckProgramUpdates("1");
    EXPECT_EQ(readFile(user / "_Install" / "Setup.exe"), fake.downloader.file);
    EXPECT_EQ(readFile(user / "_Install" / "Readme.txt"), "release notes\r\n");
    ASSERT_EQ(fake.processLauncher.started.size(), 1u);
    EXPECT_EQ(fake.processLauncher.started[0].first, "\"" + (user / "_Install" / "Setup.exe").string() + "\"");
}

} // namespace
} // namespace station

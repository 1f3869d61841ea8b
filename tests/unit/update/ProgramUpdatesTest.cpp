// Program updates through the real logic, with the service, the update server, the download to
// disk and the signature check faked; files go to a real temporary program folder.
#include "update/ProgramUpdates.h"

#include "service/Codec.h"
#include "tests/support/FakePorts.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace station {
namespace {

namespace fs = std::filesystem;

class FakeUpdateView : public UpdateView {
public:
    bool timer = true;
    std::string status = "old status";
    bool firstButton = true;
    bool progress = false;
    float maximum = 0, value = 0;
    bool ended = false;
    void setTimerEnabled(bool enabled) override { timer = enabled; }
    void setStatus(const std::string& text) override { status = text; }
    void setFirstButtonEnabled(bool enabled) override { firstButton = enabled; }
    void showProgress() override { progress = true; }
    bool progressVisible() const override { return progress; }
    void setProgress(float, float max, float now) override {
        maximum = max;
        value = now;
    }
    void endProgram() override { ended = true; }
};

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeFile(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

class ProgramUpdatesTest : public testing::Test {
public:
    void SetUp() override {
        folder = fs::temp_directory_path() / ("updates-" + std::to_string(std::random_device{}()) + "-" +
                                              testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(folder);
        // Every byte value, so that the file is shown to be written byte for byte.
        for (int i = 0; i < 3 * 256; ++i)
            downloader.file += static_cast<char>(i % 256);
        fake.ports.downloader = &downloader;
        fake.ports.signatures = &signatures;
        fake.http.handler = [this](const test::FakeHttp::Call& call) {
            if (call.method == "POST")
                return call.body.starts_with("upd1=") ? test::FakeHttp::ok(address) : test::FakeHttp::ok("");
            if (call.url == "http://upd.test/rdp/rdpupdate.ini" && describe)
                return test::FakeHttp::ok(description);
            if (call.url == "http://upd.test/notes.txt")
                return test::FakeHttp::ok("release notes\r\n");
            return test::FakeHttp::failed();
        };
    }
    void TearDown() override { fs::remove_all(folder); }

    ProgramUpdates& updates(std::string key = {}) {
        m_updates = std::make_unique<ProgramUpdates>(service, fake.ports, view,
                                                     ProgramUpdates::Setup{folder.string() + "/", "2.01", key});
        return *m_updates;
    }
    int fetches(const std::string& url) const {
        return static_cast<int>(
            std::count_if(fake.http.calls.begin(), fake.http.calls.end(), [&](const auto& c) { return c.url == url; }));
    }
    fs::path install(const char* name) const { return folder / "_Install" / name; }

    test::FakePorts fake;
    test::FakeDownloader downloader;
    test::FakeSignatures signatures;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://service.test/terminal2secure.asp"};
    FakeUpdateView view;
    fs::path folder;
    std::string address = "x|http://upd.test/rdp|";
    std::string description = "[Update]\r\nVersion =2.02\r\nReadMe=http://upd.test/notes.txt\r\nSize=768\r\n";
    bool describe = true;

private:
    std::unique_ptr<ProgramUpdates> m_updates;
};

TEST_F(ProgramUpdatesTest, ANewerReleaseIsDownloadedShownStartedAndTheProgramEnds) {
    // Longer leftovers of an earlier release must not survive under the new bytes.
    writeFile(install("Setup.exe"), std::string(5000, 'x'));
    writeFile(install("Readme.txt"), std::string(5000, 'y'));
    auto& u = updates();
    u.CheckProgramUpdates("001122334455");

    EXPECT_EQ(fake.http.bodies().front(), "upd1=001122334455");
    EXPECT_EQ(readFile(install("Setup.exe")), downloader.file);
    EXPECT_EQ(readFile(install("Readme.txt")), "release notes\r\n");
    EXPECT_FALSE(fs::exists(u.partialFile()));
    ASSERT_EQ(downloader.requests.size(), 1u);
    EXPECT_EQ(downloader.requests[0].url, "http://upd.test/rdp/setup.exe");
    EXPECT_EQ(downloader.requests[0].resumeFrom, 0u);

    ASSERT_EQ(fake.dialogs.texts(), std::vector<std::string>{ProgramUpdates::handOverText});
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
                    ProgramUpdates::communicationsError, true, false},
        FailureCase{"NoVersionLine",
                    [](ProgramUpdatesTest& f) { f.description = "ReadMe=http://upd.test/notes.txt\r\n"; }, "old status",
                    true, false},
        FailureCase{"SameVersion", [](ProgramUpdatesTest& f) { f.description = "Version =2.01\r\n"; }, "old status",
                    true, false},
        FailureCase{"InstallerUnreachable", [](ProgramUpdatesTest& f) { f.downloader.refuse = true; },
                    ProgramUpdates::downloading, false, false},
        FailureCase{"InstallFolderUnwritable",
                    [](ProgramUpdatesTest& f) { writeFile(f.folder / "_Install", "a file, not a folder"); },
                    ProgramUpdates::communicationsError, false, false},
        FailureCase{"ReadMeMissing", [](ProgramUpdatesTest& f) { f.description = "Version =2.02\r\n"; },
                    ProgramUpdates::communicationsError, false, true},
        FailureCase{"ReadMeUnreachable",
                    [](ProgramUpdatesTest& f) { f.description = "Version =2.02\r\nReadMe=http://gone.test/\r\n"; },
                    ProgramUpdates::communicationsError, false, true}),
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
    downloader.breakAt = 300;
    u.CheckProgramUpdates("1");
    EXPECT_EQ(readFile(u.partialFile()), downloader.file.substr(0, 300)) << "the part that arrived is kept";
    EXPECT_FALSE(fs::exists(install("Setup.exe")));
    EXPECT_TRUE(fake.processLauncher.started.empty());

    downloader.breakAt.reset();
    u.CheckProgramUpdates("1");
    ASSERT_EQ(downloader.requests.size(), 2u);
    EXPECT_EQ(downloader.requests[1].resumeFrom, 300u);
    EXPECT_EQ(downloader.requests[1].ifRange, "\"v1\"");
    EXPECT_EQ(readFile(install("Setup.exe")), downloader.file);
    EXPECT_EQ(fake.processLauncher.started.size(), 1u);
}

TEST_F(ProgramUpdatesTest, APartOfAReleaseTheServerNoLongerHoldsIsReplacedByTheWholeNewFile) {
    auto& u = updates();
    downloader.breakAt = 300;
    u.CheckProgramUpdates("1");
    downloader.breakAt.reset();
    downloader.validator = "\"v2\"";
    std::string release(1000, '\0');
    for (std::size_t i = 0; i < release.size(); ++i)
        release[i] = static_cast<char>(255 - i % 256);
    downloader.file = release;
    u.CheckProgramUpdates("1");
    EXPECT_EQ(readFile(install("Setup.exe")), release);
}

TEST_F(ProgramUpdatesTest, APartTheServerCannotContinueIsDroppedAndTheNextCheckStartsOver) {
    auto& u = updates();
    writeFile(u.partialFile(), std::string(2000, 'x')); // longer than the release now offered
    writeFile(fs::path(u.partialFile()) += ".validator", "\"v1\"\n");
    u.CheckProgramUpdates("1");
    EXPECT_EQ(downloader.requests.at(0).resumeFrom, 2000u);
    EXPECT_FALSE(fs::exists(u.partialFile()));
    EXPECT_TRUE(fake.processLauncher.started.empty());
    u.CheckProgramUpdates("1");
    EXPECT_EQ(downloader.requests.at(1).resumeFrom, 0u);
    EXPECT_EQ(readFile(install("Setup.exe")), downloader.file);
}

struct SignatureCase {
    const char* name;
    const char* signatureLine;
    bool started;
    const char* status;
};

class SignedUpdates : public ProgramUpdatesTest, public testing::WithParamInterface<SignatureCase> {};

TEST_P(SignedUpdates, StartOnlyAnInstallerWhoseSignatureVerifies) {
    signatures.key = "S2V5";
    description += GetParam().signatureLine;
    auto& u = updates("S2V5");
    u.CheckProgramUpdates("1");
    EXPECT_EQ(fake.processLauncher.started.size(), GetParam().started ? 1u : 0u);
    EXPECT_EQ(fs::exists(install("Setup.exe")), GetParam().started) << "a refused installer is deleted";
    EXPECT_EQ(view.status, GetParam().status);
    EXPECT_TRUE(view.ended == GetParam().started);
    EXPECT_TRUE(view.timer || GetParam().started);
    if (!signatures.calls.empty()) {
        EXPECT_EQ(signatures.calls[0].fileBytes, downloader.file) << "the whole installer is checked";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, SignedUpdates,
    testing::Values(SignatureCase{"Good", "Signature=R29vZA==\r\n", true, ""},
                    SignatureCase{"Bad", "Signature=QmFk\r\n", false,
                                  "The new release was refused: the signature does not match the installer"},
                    SignatureCase{"Missing", "", false, "The new release was refused: it carries no signature"}),
    [](const auto& param) { return std::string(param.param.name); });

TEST_F(ProgramUpdatesTest, WithoutAKeyBuiltInNoSignatureIsAskedFor) {
    description += "Signature=QmFk\r\n";
    updates().CheckProgramUpdates("1");
    EXPECT_TRUE(signatures.calls.empty());
    EXPECT_EQ(fake.processLauncher.started.size(), 1u);
}

} // namespace
} // namespace station

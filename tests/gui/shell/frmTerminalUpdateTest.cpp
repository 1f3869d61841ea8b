// The main window's part in program updates: the progress bar, the disabled first button, the
// status panel, and the end of the program once the installer runs. The decisions are tested on
// ProgramUpdates; here the window shows them.
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/frmTerminal.h"
#include "tests/support/FakePorts.h"

#include <QCoreApplication>
#include <QDir>
#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QToolButton>
#include <gtest/gtest.h>

namespace station {
namespace {

class TerminalUpdateTest : public testing::Test {
protected:
    void SetUp() override {
        QDir(installFolder()).removeRecursively();
        config.tickMs = 24 * 3600 * 1000;
        fake.downloader.file = std::string(3000, '\x7F');
        fake.http.handler = [](const test::FakeHttp::Call& call) {
            if (call.body.starts_with("upd1="))
                return test::FakeHttp::ok("x|http://upd.test/rdp|");
            if (call.url == "http://upd.test/rdp/rdpupdate.ini")
                return test::FakeHttp::ok("Version =99.01\r\nReadMe=http://upd.test/r.txt\r\n");
            if (call.url == "http://upd.test/r.txt")
                return test::FakeHttp::ok("notes");
            return test::FakeHttp::ok("");
        };
        window = std::make_unique<frmTerminal>(fake.ports, config, service);
        ASSERT_TRUE(window->Form_Load());
    }
    // The window's program folder is the test program's: what an update writes goes there.
    void TearDown() override { QDir(installFolder()).removeRecursively(); }
    static QString installFolder() { return QCoreApplication::applicationDirPath() + QStringLiteral("/_Install"); }

    test::FakePorts fake;
    StationConfig config;
    IdentityCodec codec;
    ServiceClient service{fake.http, codec, "http://svc/terminal2secure.asp"};
    std::unique_ptr<frmTerminal> window;
};

// One test only: the window's program folder is the test program's, shared by every case.
TEST_F(TerminalUpdateTest, TheBarFollowsTheDownloadAndAHandedOverUpdateClosesTheWindow) {
    fake.downloader.breakAt = 1000;
    window->Timer1_Timer();
    // A broken download leaves the bar, the button and the status as they were.
    EXPECT_FALSE(window->ProgressBar1->isHidden());
    EXPECT_EQ(window->ProgressBar1->maximum(), 3000);
    EXPECT_EQ(window->ProgressBar1->value(), 1000);
    EXPECT_FALSE(window->button(QStringLiteral("connect"))->isEnabled());
    EXPECT_EQ(window->panel(QStringLiteral("message"))->text(), QStringLiteral("Downloading a new release..."));
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(window->Timer1->isActive());

    fake.downloader.breakAt.reset();
    for (int tick = 2; tick <= 13 && fake.processLauncher.started.empty(); ++tick)
        window->Timer1_Timer();
    ASSERT_EQ(fake.processLauncher.started.size(), 1u);
    EXPECT_EQ(window->ProgressBar1->value(), 3000);
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(window->Timer1->isActive());
}

} // namespace
} // namespace station

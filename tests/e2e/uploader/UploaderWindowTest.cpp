// The uploader window of the real program on a virtual display, opened from the station's toolbar
// against the reference service and an FTP server whose greeting comes late: what the user sees
// while the window waits on the server, and what becomes of the close box meanwhile.
#include "core/ProgramVersion.h"
#include "tests/e2e/support/FtpPeer.h"
#include "tests/e2e/support/Peers.h"
#include "tests/e2e/support/Rig.h"
#include "tests/e2e/support/XProbe.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace station {
namespace {

using test::waitUntil;
using test::XProbe;

constexpr int greetingMs = 3000;
// The devservice's only store for every station.
const std::string uploaderTitle = "Upload Data to STORE01 - 1234500001";

class UploaderWindow : public testing::Test {
protected:
    void SetUp() override {
        if (display.display().isEmpty() || !probe.connected())
            GTEST_SKIP() << "Xvfb did not start";
        // With one store the toolbar's Uploader button opens the window for it.
        service.admin({QStringLiteral("seed"), QStringLiteral("--stores"), QStringLiteral("1")});
        auto env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), display.display());
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.path());
        env.insert(QStringLiteral("HOME"), home.path());
        env.insert(QStringLiteral("STATION_SERVICE_URL"), service.serviceUrl());
        env.insert(QStringLiteral("STATION_REPORTS_URL"), service.baseUrl() + QStringLiteral("/Reports/"));
        env.insert(QStringLiteral("STATION_FTP_HOST"), ftp.host());
        // No store host answers here; the station's tick, which runs while the window waits,
        // comes often.
        env.insert(QStringLiteral("STATION_SERVER_LIST"), QStringLiteral("127.0.0.14"));
        env.insert(QStringLiteral("STATION_TICK_MS"), QStringLiteral("200"));
        env.insert(QStringLiteral("CUPS_SERVER"), home.filePath(QStringLiteral("no-cups.sock")));
        env.insert(QStringLiteral("no_proxy"), QStringLiteral("*"));
        station.start(test::binDir() + QStringLiteral("/vorneterminal"), {}, env);
        const auto title = "VORNE Terminal Version " + programVersion();
        ASSERT_TRUE(waitUntil([&] { return (main = probe.find(title)) != 0; }, 10'000)) << "no main window";
        test::waitUntil([] { return false; }, 500); // the toolbar laid out and painted
        // The Uploader button, last on the toolbar.
        probe.click(main, 352, 28);
        clock.start();
    }

    test::VirtualDisplay display;
    XProbe probe{display.display()};
    QTemporaryDir home;
    test::DevService service;
    test::FtpPeer ftp{47620, 47659, QStringLiteral("greeting-delay %1").arg(greetingMs / 1000.0),
                      test::FtpPeer::Tls::None, test::FtpPeer::Server::PyFtpdLib};
    test::PeerProcess station;
    XProbe::Window main = 0;
    QElapsedTimer clock;
};

TEST_F(UploaderWindow, IsOnTheScreenAtItsUsableSizeWhileItWaitsForTheServer) {
    XProbe::Window window = 0;
    ASSERT_TRUE(waitUntil([&] { return (window = probe.find(uploaderTitle)) != 0; }, 10'000))
        << "no uploader window (is the Uploader button still where the test clicks?)";
    EXPECT_LT(clock.elapsed(), greetingMs - 500) << "the window came up only after the server had answered";
    // Smaller than this, its lists and buttons do not fit.
    const auto size = probe.size(window);
    EXPECT_GE(size.width, 255) << size.width << "x" << size.height;
    EXPECT_GE(size.height, 244) << size.width << "x" << size.height;
}

TEST_F(UploaderWindow, CloseAskedForWhileItWaitsForTheServerClosesItWhenTheWaitIsOver) {
    XProbe::Window window = 0;
    // Titled as it logs in, on the screen or not yet.
    ASSERT_TRUE(waitUntil([&] { return (window = probe.find(uploaderTitle, false)) != 0; }, 10'000))
        << "no uploader window (is the Uploader button still where the test clicks?)";
    ASSERT_LT(clock.elapsed(), greetingMs - 500) << "the server answered before the test could ask";
    probe.close(window);
    EXPECT_TRUE(waitUntil([&] { return probe.find(uploaderTitle, false) == 0; }, greetingMs + 5000))
        << "the close box was not heard";
    EXPECT_EQ(station.process().state(), QProcess::Running);
}

} // namespace
} // namespace station

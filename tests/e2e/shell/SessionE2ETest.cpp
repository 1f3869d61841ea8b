// The telnet client session end to end: the station in process with the real service transport,
// the real process launcher and the real window search on a virtual display, the stand-in
// client as the program it starts, and the reference service as the other side.
#include "platform/Adapters.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/frmTerminal.h"
#include "tests/e2e/support/Peers.h"
#include "tests/e2e/support/Rig.h"

#include <QFile>
#include <QPushButton>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <csignal>
#include <gtest/gtest.h>

namespace station {
namespace {

using test::waitUntil;

QStringList linesOf(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    return QString::fromLocal8Bit(f.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

class SessionE2E : public testing::Test {
protected:
    void SetUp() override {
        if (display.display().isEmpty())
            GTEST_SKIP() << "Xvfb did not start";
        // The station's own window stays offscreen; the client and the window search use Xvfb.
        qputenv("DISPLAY", display.display().toLocal8Bit());
        qputenv("QT_QPA_PLATFORM", "xcb");
        qputenv("FAKECLIENT_ARGS_FILE", argsFile().toLocal8Bit());
        qputenv("FAKECLIENT_PID_FILE", pidFile().toLocal8Bit());
        qunsetenv("FAKECLIENT_EXIT_MS");
        qunsetenv("FAKECLIENT_NO_WINDOW");
        fake.adapters.adapters = {{"eth0", {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}}};
        config.serviceUrl = service.serviceUrl().toStdString();
        config.serverList = "127.0.0.1";
        config.tickMs = 100;
    }
    void TearDown() override {
        endClients();
        if (window)
            window->Form_Unload();
    }
    frmTerminal& load() {
        window = std::make_unique<frmTerminal>(ports, config, client);
        EXPECT_TRUE(window->Form_Load());
        // Connected after the window's own handler, so a tick is counted once it has run.
        QObject::connect(window->Timer1, &QTimer::timeout, window.get(), [this] { ++ticks; });
        return *window;
    }
    QString argsFile() const { return dir.filePath(QStringLiteral("args.txt")); }
    QString pidFile() const { return dir.filePath(QStringLiteral("pid.txt")); }
    QTreeWidgetItem* row(int k) const { return window->rowByKey("A " + std::to_string(k)); }
    bool bold(int k) const { return row(k)->font(0).bold() && row(k)->font(4).bold(); }
    QString status(int k) const { return row(k)->text(4); }
    bool connectEnabled() const { return window->button(QStringLiteral("connect"))->isEnabled(); }
    // Waits for a tick after which the next one neither polls nor follows a poll (polls run on
    // ticks 1, 13 and 14 of every thirteen), so a change the test makes now is seen plainly.
    void waitForQuietTick() {
        const auto start = ticks;
        ASSERT_TRUE(waitUntil([&] { return ticks > start && ticks % 13 >= 2 && ticks % 13 <= 10; }));
    }
    void endClients() {
        for (const auto& line : linesOf(pidFile()))
            ::kill(line.toInt(), SIGTERM);
        QFile::remove(pidFile());
    }

    test::VirtualDisplay display;
    test::DevService service;
    QTemporaryDir dir;
    std::unique_ptr<HttpClient> http = makeHttpClient();
    std::unique_ptr<ClientWindows> clientWindows = makeClientWindows();
    std::unique_ptr<ProcessLauncher> launcher = makeProcessLauncher();
    std::unique_ptr<Yield> yield = makeYield();
    test::FakePorts fake;
    Ports ports = test::portsOver(fake, {.http = http.get(),
                                         .yield = yield.get(),
                                         .clientWindows = clientWindows.get(),
                                         .processLauncher = launcher.get()});
    StationConfig config;
    IdentityCodec codec;
    ServiceClient client{*http, codec, service.serviceUrl().toStdString()};
    std::unique_ptr<frmTerminal> window;
    int ticks = 0;
};

TEST_F(SessionE2E, ClientStartsWithItsArgumentsIsSupervisedAndGivesTheRowBackWhenItEnds) {
    auto& w = load();
    ASSERT_GE(w.ListView1->topLevelItemCount(), 2);
    waitForQuietTick();
    emit w.ListView1->itemDoubleClicked(row(1), 0);

    // STORE02 of the demo data: domain GSV7 starts the newer client; no settings row, no routes.
    ASSERT_TRUE(waitUntil([&] { return linesOf(argsFile()).size() >= 9; }));
    EXPECT_EQ(linesOf(argsFile()),
              (QStringList{QStringLiteral("-b2"), QStringLiteral("-uuser02"), QStringLiteral("-P23"),
                           QStringLiteral("-ppass02"), QStringLiteral("-h127.0.0.2"), QStringLiteral("-dGSV7"),
                           QStringLiteral("-H180"), QStringLiteral("-z"), QStringLiteral("-x1234500002")}));
    // Put away: hidden where a tray brings it back, minimised on a desktop without one (Xvfb).
    if (QSystemTrayIcon::isSystemTrayAvailable())
        EXPECT_FALSE(w.isVisible());
    else
        EXPECT_TRUE(w.isMinimized());
    ASSERT_TRUE(waitUntil([&] { return bold(1) && !connectEnabled(); }));
    EXPECT_EQ(status(1), QStringLiteral("connected"));
    EXPECT_NE(clientWindows->findByTitle("GS Telnet Client   127.0.0.2 x:1234500002"), 0u);
    EXPECT_FALSE(bold(0));

    waitForQuietTick();
    endClients();
    ASSERT_TRUE(waitUntil([&] { return !bold(1) && connectEnabled(); }));
    EXPECT_EQ(status(1), QString());
    EXPECT_EQ(w.state().stores.at(1).connectState, 3);
}

TEST_F(SessionE2E, ClientThatEndsAtOnceOrNeverOpensAWindowLeavesNoHang) {
    auto& w = load();
    for (const char* variable : {"FAKECLIENT_EXIT_MS", "FAKECLIENT_NO_WINDOW"}) {
        qputenv(variable, "1");
        waitForQuietTick();
        w.connectStore(1);
        EXPECT_TRUE(bold(1) || connectEnabled());
        ASSERT_TRUE(waitUntil([&] { return !bold(1) && connectEnabled(); })) << variable;
        qunsetenv(variable);
        endClients();
    }
    EXPECT_TRUE(fake.dialogs.shown.empty());
}

} // namespace
} // namespace station

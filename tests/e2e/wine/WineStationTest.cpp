// The Windows program as a store starts it: vorneterminal.exe from the cross build's run folder,
// under Wine on a virtual display, against the Linux reference service and a store host on
// loopback. Everything it meets is real: Qt's Windows platform plug-in, curl with Schannel, the
// Win32 adapters (window search by title, process start, adapter list), pugixml. The test plays
// the person at the till with real key presses (xdotool) and reads what the program shows through
// the X server.
//
// STATION_WINDOWS_BUILD names the windows-full build folder (its run/ and bin/ folders and Wine
// prefix); the `wine` test preset sets it.
#include "tests/e2e/support/Peers.h"
#include "tests/e2e/support/Rig.h"
#include "tests/e2e/wine/WineSession.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>
#include <gtest/gtest.h>

namespace station::test {
namespace {

const QString mainTitle = QStringLiteral("VORNE Terminal Version 2.1.14");

/// Everything the run shares: started once for the whole suite, since a Wine start costs seconds.
struct Rig {
    QTemporaryDir dir;
    DevService service;
    PeerProcess host;
    PeerProcess station;
    std::unique_ptr<WineSession> wine;

    QString stationFolder() const { return dir.filePath(QStringLiteral("station")); }
    QString hostLog() const { return dir.filePath(QStringLiteral("host.log")); }
    QString clientArgs() const { return dir.filePath(QStringLiteral("client-args.txt")); }
    QStringList argsSeen() const {
        // The stand-in writes text lines, which end in CR LF on Windows.
        return QString::fromLocal8Bit(fileBytes(clientArgs()))
            .split(QRegularExpression(QStringLiteral("\r?\n")), Qt::SkipEmptyParts);
    }
};

Rig* rig = nullptr;

class WineStation : public testing::Test {
protected:
    static void SetUpTestSuite() {
        ASSERT_FALSE(windowsBuild().isEmpty()) << "STATION_WINDOWS_BUILD is not set (ctest --preset wine)";
        ASSERT_TRUE(QFile::exists(windowsBuild() + QStringLiteral("/run/vorneterminal.exe")))
            << "no Windows build in " << windowsBuild().toStdString();
        rig = new Rig;

        // The store's folder: the run folder as built, and the client stand-ins, which the station
        // starts from its own folder.
        ASSERT_EQ(run(QStringLiteral("cp"),
                      {QStringLiteral("-r"), windowsBuild() + QStringLiteral("/run"), rig->stationFolder()}),
                  QString());
        for (const auto* client : {"gs_clnt.exe", "gs_clnt7.exe"})
            ASSERT_TRUE(QFile::copy(windowsBuild() + QStringLiteral("/bin/") + QLatin1String(client),
                                    rig->stationFolder() + QLatin1Char('/') + QLatin1String(client)));

        // A display with the prefix's Wine server on it.
        rig->wine = std::make_unique<WineSession>();
        ASSERT_TRUE(rig->wine->started()) << "no Wine session on a virtual display";

        // The store host reads its commands from the test, line by line.
        rig->host.start(binDir() + QStringLiteral("/hostsim"), {QStringLiteral("--bind"), QStringLiteral("127.0.0.1"),
                                                                QStringLiteral("--log"), rig->hostLog()});
        ASSERT_FALSE(rig->host.waitForOutput(QStringLiteral("listening on")).isEmpty()) << "hostsim did not start";

        auto env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("STATION_SERVICE_URL"), rig->service.serviceUrl());
        env.insert(QStringLiteral("STATION_SERVER_LIST"), QStringLiteral("127.0.0.1"));
        env.insert(QStringLiteral("STATION_TICK_MS"), QStringLiteral("250"));
        env.insert(QStringLiteral("FAKECLIENT_ARGS_FILE"), wineName(rig->clientArgs()));
        rig->station.start(wineRun(), {winePrefix(), rig->stationFolder() + QStringLiteral("/vorneterminal.exe")}, env);
    }
    static void TearDownTestSuite() {
        delete rig;
        rig = nullptr;
    }
    void SetUp() override {
        if (HasFatalFailure() || !rig || !rig->wine || !rig->wine->started())
            GTEST_SKIP() << "the rig did not start";
    }
    void TearDown() override {
        // A case that failed half-way can leave a dialog up, which would take the next case's keys.
        for (int i = 0; i < 4 && HasFailure() && rig && rig->wine &&
                        (rig->wine->fileDialog() != 0 || rig->wine->x().find("Get External Data") != 0);
             ++i) {
            rig->wine->xdo({QStringLiteral("key"), QStringLiteral("Escape")});
            QThread::msleep(500);
        }
    }
};

TEST_F(WineStation, RunFolderHoldsTheProgramItsDllsAndThePlatformPluginOnly) {
    QStringList files;
    QDirIterator it(windowsBuild() + QStringLiteral("/run"), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        files << it.next().mid(windowsBuild().size() + 5);
    files.sort();
    EXPECT_TRUE(files.contains(QStringLiteral("vorneterminal.exe")));
    EXPECT_TRUE(files.contains(QStringLiteral("platforms/qwindows.dll")));
    for (const auto* dll : {"Qt6Core.dll", "Qt6Widgets.dll", "libcurl.dll", "libcrypto-3-x64.dll", "libstdc++-6.dll"})
        EXPECT_TRUE(files.contains(QLatin1String(dll))) << dll;
    for (const auto& f : files)
        EXPECT_TRUE(f == QStringLiteral("vorneterminal.exe") || f == QStringLiteral("platforms/qwindows.dll") ||
                    (!f.contains(QLatin1Char('/')) && f.endsWith(QStringLiteral(".dll"))))
            << f.toStdString();
}

TEST_F(WineStation, MainWindowShowsTheStoreListFromTheService) {
    const auto window = rig->wine->waitForWindow(mainTitle, 60'000);
    ASSERT_NE(window, 0u) << "no window titled " << mainTitle.toStdString();
    // The store list was asked for with this station's identity and answered.
    ASSERT_TRUE(
        waitUntil([] { return rig->service.admin({QStringLiteral("requests")}).contains(QStringLiteral("mac=")); }));
    QThread::msleep(1500);
    rig->wine->screenshot(QStringLiteral("wine-main-window.png"));
}

TEST_F(WineStation, HostIsAnsweredAndItsMessageShown) {
    rig->host.process().write("send /R=\n");
    ASSERT_TRUE(waitUntil([] { return fileBytes(rig->hostLog()).contains("/L="); }, 30'000))
        << fileBytes(rig->hostLog()).toStdString();

    rig->host.process().write("send /M=Store closes at 9\n");
    const auto box = rig->wine->waitForWindow(QStringLiteral("Message from Server"));
    ASSERT_NE(box, 0u);
    ASSERT_TRUE(rig->wine->press(box, {QStringLiteral("Return")}));
    EXPECT_TRUE(waitUntil([box] { return rig->wine->x().find("Message from Server") == 0; }, 10'000));
    Q_UNUSED(box);
}

TEST_F(WineStation, GetExternalDataLoadsAConnectionFileAndSavesItAgain) {
    // A connection file as the station's writer makes it, with values of its own.
    // It lies in the program's folder, where the open dialog starts, so the person types its name
    // only (a long path typed into the dialog races its completion list).
    const auto loaded = rig->stationFolder() + QStringLiteral("/shop.xml");
    const auto saved = rig->stationFolder() + QStringLiteral("/copy.xml");
    {
        QFile f(loaded);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("<xml xmlns:s='uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882'\n"
                "\txmlns:dt='uuid:C2F41010-65B3-11d1-A29F-00AA00C14882'\n"
                "\txmlns:rs='urn:schemas-microsoft-com:rowset'\n"
                "\txmlns:z='#RowsetSchema'>\n"
                "<s:Schema id='RowsetSchema'>\n"
                "\t<s:ElementType name='row' content='eltOnly'>\n"
                "\t\t<s:AttributeType name='Username' rs:number='1'/>\n"
                "\t\t<s:AttributeType name='password' rs:number='2'/>\n"
                "\t\t<s:AttributeType name='domain' rs:number='3'/>\n"
                "\t\t<s:AttributeType name='ip' rs:number='4'/>\n"
                "\t\t<s:AttributeType name='station' rs:number='5'/>\n"
                "\t</s:ElementType>\n"
                "</s:Schema>\n"
                "<rs:data>\n"
                "\t<z:row Username='wineuser' password='winepass' domain='WD' ip='10.9.8.7' station='42'/>\n"
                "</rs:data>\n"
                "</xml>\n");
    }
    const auto main = rig->wine->waitForWindow(mainTitle);
    ASSERT_NE(main, 0u);
    ASSERT_TRUE(rig->wine->press(main, {QStringLiteral("ctrl+g")}));
    const auto getInfo = rig->wine->waitForWindow(QStringLiteral("Get External Data"));
    ASSERT_NE(getInfo, 0u);

    // The boxes come first in the tab order, then login, Populate and Save Local.
    const auto openDialog = [&](const QStringList& keys) {
        return rig->wine->press(getInfo, keys) && waitUntil([] { return rig->wine->fileDialog() != 0; });
    };
    ASSERT_TRUE(openDialog(QStringList(6, QStringLiteral("Tab")) << QStringLiteral("space"))) << "no open dialog";
    if (!rig->wine->chooseInFileDialog(QStringLiteral("shop.xml"))) {
        rig->wine->screenshot(QStringLiteral("wine-open-dialog.png"));
        FAIL() << "the open dialog stayed (screen: wine-open-dialog.png)";
    }
    QThread::msleep(500); // the boxes fill

    // The save dialog offers the loaded file's name: typed over.
    ASSERT_TRUE(openDialog({QStringLiteral("Tab"), QStringLiteral("space")})) << "no save dialog";
    ASSERT_TRUE(rig->wine->chooseInFileDialog(QStringLiteral("copy.xml")));
    // "Saved to ..." comes once the file is written.
    const auto saidSaved = rig->wine->waitForWindow(QStringLiteral("VORNETerminal"));
    if (saidSaved == 0) {
        rig->wine->screenshot(QStringLiteral("wine-not-saved.png"));
        FAIL() << "nothing saved (screen: wine-not-saved.png)";
    }

    // What was loaded went through the boxes into the new file, padded to the field width.
    const auto copy = QString::fromUtf8(fileBytes(saved));
    for (const auto* value : {"wineuser", "winepass", "WD", "10.9.8.7", "42"})
        EXPECT_TRUE(copy.contains(QStringLiteral("='%1 ").arg(QLatin1String(value)))) << value << "\n"
                                                                                      << copy.toStdString();
    ASSERT_TRUE(rig->wine->press(saidSaved, {QStringLiteral("Return")}));
    ASSERT_TRUE(rig->wine->press(getInfo, {QStringLiteral("Escape")}));
    EXPECT_TRUE(waitUntil([] { return rig->wine->x().find("Get External Data") == 0; }, 10'000));
}

TEST_F(WineStation, ConnectingStartsTheClientWithItsArgumentsAndSupervisesItUntilItEnds) {
    const auto main = rig->wine->waitForWindow(mainTitle);
    ASSERT_NE(main, 0u);
    // A double click on the first row, the service's first store.
    const auto doubleClickFirstRow = [main] { return rig->wine->doubleClick(main, 40, 98); };
    const QStringList firstStore{
        QStringLiteral("-b1"),      QStringLiteral("-uuser01"),    QStringLiteral("-P23"),
        QStringLiteral("-ppass01"), QStringLiteral("-h127.0.0.1"), QStringLiteral("-dGS"),
        QStringLiteral("-H180"),    QStringLiteral("-z"),          QStringLiteral("-x1234500001")};
    ASSERT_TRUE(doubleClickFirstRow());
    ASSERT_TRUE(waitUntil([] { return rig->argsSeen().size() >= 9; }, 30'000)) << "the client did not start";
    EXPECT_EQ(rig->argsSeen(), firstStore);

    // The client is found by its connected title and kept: the station stays put away as long as
    // the window is there, tick after tick.
    const auto client = rig->wine->waitForWindow(QStringLiteral("GS Telnet Client   127.0.0.1 x:1234500001"));
    ASSERT_NE(client, 0u);
    EXPECT_TRUE(waitUntil([] { return rig->wine->x().find(mainTitle.toStdString()) == 0; }, 10'000));
    QThread::msleep(3000); // a dozen ticks
    EXPECT_EQ(rig->wine->x().find(mainTitle.toStdString()), 0u) << "the station gave up the client while it ran";

    // Back from the tray: the row is taken, so a second connection to the store is refused.
    const auto tray = rig->wine->waitForWindow(QStringLiteral("Wine System Tray"));
    ASSERT_NE(tray, 0u);
    ASSERT_TRUE(rig->wine->doubleClick(tray, 10, 10));
    ASSERT_TRUE(waitUntil([] { return rig->wine->x().find(mainTitle.toStdString()) != 0; }, 10'000));
    QThread::msleep(500);
    rig->wine->screenshot(QStringLiteral("wine-connected.png"));
    ASSERT_TRUE(doubleClickFirstRow());
    const auto refused = rig->wine->waitForWindow(QStringLiteral("Can Not login"));
    ASSERT_NE(refused, 0u) << "a second connection to a connected store was not refused";
    ASSERT_TRUE(rig->wine->press(refused, {QStringLiteral("Return")}));
    EXPECT_EQ(rig->argsSeen().size(), 9);

    // Closing the client ends the session: the row is free again, and the store connects anew.
    rig->wine->x().close(client);
    ASSERT_TRUE(
        waitUntil([] { return rig->wine->x().find("GS Telnet Client   127.0.0.1 x:1234500001") == 0; }, 10'000));
    QThread::msleep(1500); // a few ticks
    ASSERT_TRUE(doubleClickFirstRow());
    ASSERT_TRUE(waitUntil([] { return rig->argsSeen().size() >= 21; }, 30'000))
        << "the store was not free again after its client ended";
    // The first connection made the default settings row, which later ones route as it stands.
    const auto again =
        firstStore.mid(0, 8) + QStringList{QStringLiteral("-r1=<unassigned>"), QStringLiteral("-r2=<unassigned>"),
                                           QStringLiteral("-r3=<unassigned>"), firstStore.last()};
    EXPECT_EQ(rig->argsSeen().mid(9), again);
}

/// The installer cpack makes of the run folder (cpack -G NSIS in the windows-full build), as a
/// store's IT would run it: silently, then the program from its Start-menu entry, then the
/// uninstaller. Runs after the suite above has ended its program and display.
TEST(WineInstaller, InstallsSilentlyStartsFromTheStartMenuAndUninstallsWithoutATrace) {
    const auto installer = windowsBuild() + QStringLiteral("/vorneterminal-2.1.14-win64.exe");
    ASSERT_TRUE(QFile::exists(installer)) << "no installer: cpack -G NSIS in " << windowsBuild().toStdString();
    const auto drive = winePrefix() + QStringLiteral("/drive_c");
    const auto folder = drive + QStringLiteral("/Program Files/VORNE Terminal");
    const auto menu = drive + QStringLiteral("/ProgramData/Microsoft/Windows/Start Menu/Programs/VORNE Terminal");

    QProcess install;
    install.start(wineRun(), {winePrefix(), installer, QStringLiteral("/S")});
    ASSERT_TRUE(install.waitForFinished(120'000));
    EXPECT_TRUE(QFile::exists(folder + QStringLiteral("/vorneterminal.exe")));
    EXPECT_TRUE(QFile::exists(folder + QStringLiteral("/platforms/qwindows.dll")));
    const auto shortcut = menu + QStringLiteral("/VORNE Terminal.lnk");
    ASSERT_TRUE(QFile::exists(shortcut)) << "no Start-menu entry";

    {
        DevService service;
        WineSession wine;
        ASSERT_TRUE(wine.started()) << "no Wine session on a virtual display";
        auto env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("STATION_SERVICE_URL"), service.serviceUrl());
        env.insert(QStringLiteral("STATION_SERVER_LIST"), QStringLiteral("127.0.0.1"));
        PeerProcess station;
        station.start(wineRun(), {winePrefix(), QStringLiteral("start"), QStringLiteral("/unix"), shortcut}, env);
        EXPECT_NE(wine.waitForWindow(mainTitle, 60'000), 0u) << "the installed program showed no main window";
        // Leaving the scope ends the program and the display, so nothing holds a file the
        // uninstaller removes.
    }

    // The uninstaller copies itself elsewhere and goes on from there: its folder going away is the end.
    QProcess uninstall;
    uninstall.start(wineRun(), {winePrefix(), folder + QStringLiteral("/Uninstall.exe"), QStringLiteral("/S")});
    ASSERT_TRUE(uninstall.waitForFinished(120'000));
    EXPECT_TRUE(waitUntil([&] { return !QFile::exists(folder) && !QFile::exists(menu); }, 60'000))
        << "left behind: " << QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).join(u' ').toStdString();
}

} // namespace
} // namespace station::test

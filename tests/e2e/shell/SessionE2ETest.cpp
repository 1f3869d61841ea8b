// The telnet client session end to end: the station in process with the real service transport,
// the real process launcher and the real window search on a virtual display, the stand-in
// client as the program it starts, and the reference service as the other side.
#include "connection/frmGetInfo.h"
#include "platform/Adapters.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/frmTerminal.h"
#include "tests/e2e/support/Peers.h"
#include "tests/e2e/support/Rig.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>

namespace station {
namespace {

constexpr const char* stationHex = "001122334455";

// Runs window events until `done` holds; false when it never did.
bool waitUntil(const std::function<bool()>& done, int timeoutMs = 20'000) {
    QDeadlineTimer deadline(timeoutMs);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QEventLoop loop;
        QTimer::singleShot(20, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

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

TEST_F(SessionE2E, ShortDomainStartsTheOlderClientWithThePrinterRoutes) {
    service.admin({QStringLiteral("seed"), QStringLiteral("--station"), QString::fromLatin1(stationHex)});
    auto& w = load();
    w.state().settings.addRow();
    w.state().settings.set("prt0", "R 1");
    w.state().settings.set("prt2", "P3");
    w.state().settings.set("Prefix", "AB");
    waitForQuietTick();
    w.connectStore(0);
    ASSERT_TRUE(waitUntil([&] { return linesOf(argsFile()).size() >= 12; }));
    // The blank inside the printer name splits the argument, as the real client would see it.
    EXPECT_EQ(
        linesOf(argsFile()).mid(5),
        (QStringList{QStringLiteral("-dGS"), QStringLiteral("-H180"), QStringLiteral("-z"), QStringLiteral("-r1=ABR"),
                     QStringLiteral("1"), QStringLiteral("-r3=ABP3"), QStringLiteral("-x1234500001")}));
    ASSERT_TRUE(waitUntil([&] { return bold(0); }));
}

// A connection file as the format's own writer saves a row built field by field: the row inside
// rs:insert, the values padded to 30.
const char* connectionFile = "<xml xmlns:s='uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882'\n"
                             "\txmlns:dt='uuid:C2F41010-65B3-11d1-A29F-00AA00C14882'\n"
                             "\txmlns:rs='urn:schemas-microsoft-com:rowset'\n"
                             "\txmlns:z='#RowsetSchema'>\n"
                             "<s:Schema id='RowsetSchema'>\n"
                             "\t<s:ElementType name='row' content='eltOnly' rs:updatable='true'>\n"
                             "\t\t<s:AttributeType name='Username' rs:number='1' rs:write='true'>\n"
                             "\t\t\t<s:datatype dt:type='string' rs:dbtype='str' dt:maxLength='30' rs:precision='0'\n"
                             "\t\t\t rs:fixedlength='true' rs:maybenull='false'/>\n"
                             "\t\t</s:AttributeType>\n"
                             "\t\t<s:AttributeType name='password' rs:number='2' rs:write='true'>\n"
                             "\t\t\t<s:datatype dt:type='string' rs:dbtype='str' dt:maxLength='30' rs:precision='0'\n"
                             "\t\t\t rs:fixedlength='true' rs:maybenull='false'/>\n"
                             "\t\t</s:AttributeType>\n"
                             "\t\t<s:AttributeType name='domain' rs:number='3' rs:write='true'>\n"
                             "\t\t\t<s:datatype dt:type='string' rs:dbtype='str' dt:maxLength='30' rs:precision='0'\n"
                             "\t\t\t rs:fixedlength='true' rs:maybenull='false'/>\n"
                             "\t\t</s:AttributeType>\n"
                             "\t\t<s:AttributeType name='ip' rs:number='4' rs:write='true'>\n"
                             "\t\t\t<s:datatype dt:type='string' rs:dbtype='str' dt:maxLength='30' rs:precision='0'\n"
                             "\t\t\t rs:fixedlength='true' rs:maybenull='false'/>\n"
                             "\t\t</s:AttributeType>\n"
                             "\t\t<s:AttributeType name='station' rs:number='5' rs:write='true'>\n"
                             "\t\t\t<s:datatype dt:type='string' rs:dbtype='str' dt:maxLength='30' rs:precision='0'\n"
                             "\t\t\t rs:fixedlength='true' rs:maybenull='false'/>\n"
                             "\t\t</s:AttributeType>\n"
                             "\t\t<s:extends type='rs:rowbase'/>\n"
                             "\t</s:ElementType>\n"
                             "</s:Schema>\n"
                             "<rs:data>\n"
                             "\t<rs:insert>\n"
                             "\t\t<z:row Username='anna                          ' "
                             "password='s3cret                        '\n"
                             "\t\t\t domain='CORP                          ' ip='10.9.9.9                      '\n"
                             "\t\t\t station='77                            '/>\n"
                             "\t</rs:insert>\n"
                             "</rs:data>\n"
                             "</xml>";

TEST_F(SessionE2E, LoginValuesFromAConnectionFileSignOnAStoreWhoseEntryLacksThem) {
    // A store entry without user name and password.
    service.admin({QStringLiteral("set-reply"), QStringLiteral("ID|1234500009|9|||127.0.0.9|23|GSV7||STORE09|C|")});
    const auto file = dir.filePath(QStringLiteral("store.xml"));
    {
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(connectionFile);
    }
    auto& w = load();
    ASSERT_EQ(w.ListView1->topLevelItemCount(), 1);

    // Tools, "Get External Data...", Populate with the file, login.
    for (auto* item : w.buttonMenu(QStringLiteral("tools"))->actions())
        if (item->text() == QStringLiteral("Get External Data..."))
            item->trigger();
    auto* form = w.findChild<frmGetInfo*>();
    ASSERT_NE(form, nullptr);
    fake.dialogs.fileAnswer = file.toStdString();
    form->cmdPopulate->click();
    EXPECT_EQ(form->txtUsername->text(), QStringLiteral("anna"));
    form->cmdLogin->click();

    waitForQuietTick();
    emit w.ListView1->itemDoubleClicked(row(0), 0);
    ASSERT_TRUE(waitUntil([&] { return linesOf(argsFile()).size() >= 9; })) << fake.dialogs.texts().size();
    // The entry's own terminal, host and domain; the file's user name and password.
    EXPECT_EQ(linesOf(argsFile()),
              (QStringList{QStringLiteral("-b9"), QStringLiteral("-uanna"), QStringLiteral("-P23"),
                           QStringLiteral("-ps3cret"), QStringLiteral("-h127.0.0.9"), QStringLiteral("-dGSV7"),
                           QStringLiteral("-H180"), QStringLiteral("-z"), QStringLiteral("-x1234500009")}));
    ASSERT_TRUE(waitUntil([&] { return bold(0) && !connectEnabled(); }));
    EXPECT_TRUE(fake.dialogs.texts().empty()) << "no missing-information box";
}

TEST_F(SessionE2E, MaintenanceShutdownShowsInTheRowAndReopeningClearsIt) {
    load();
    service.admin({QStringLiteral("shutdown"), QStringLiteral("STORE01")});
    ASSERT_TRUE(waitUntil([&] { return status(0).startsWith(QStringLiteral("Store Shutdown for Maint @ ")); }));
    EXPECT_FALSE(bold(0));
    EXPECT_EQ(status(1), QString());
    window->connectStore(0);
    ASSERT_EQ(fake.dialogs.shown.size(), 1u);
    EXPECT_EQ(fake.dialogs.shown[0].title, "Can Not login");
    EXPECT_TRUE(linesOf(argsFile()).isEmpty());

    service.admin({QStringLiteral("reopen"), QStringLiteral("STORE01")});
    ASSERT_TRUE(waitUntil([&] { return status(0).isEmpty() && window->state().stores.at(0).status == " "; }));
}

TEST_F(SessionE2E, SettingsWrittenAtExitAreTheOnesTheNextStartLoads) {
    auto& first = load();
    first.state().settings.addRow();
    const std::pair<const char*, const char*> values[] = {{"prt0", "Receipt A&B"}, {"prt1", "Label"},
                                                          {"prt2", "Report"},      {"prt3", "MICRImage"},
                                                          {"CC", "COM2"},          {"Prefix", "\\\\srv\\"}};
    for (const auto& [field, value] : values)
        first.state().settings.set(field, value);
    first.Form_Unload();
    window.reset();

    auto& second = load();
    for (const auto& [field, value] : values) {
        // The service keeps the escaped ampersand as it was sent.
        const std::string expected = std::string(field) == "prt0" ? "Receipt A&amp;B" : value;
        EXPECT_EQ(second.state().settings.get(field), expected) << field;
    }
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

TEST_F(SessionE2E, ServiceGoneDuringThePollChangesNoStore) {
    auto& w = load();
    ASSERT_GE(w.ListView1->topLevelItemCount(), 1);
    service.admin({QStringLiteral("shutdown"), QStringLiteral("STORE01")});
    ASSERT_TRUE(waitUntil([&] { return status(0).startsWith(QStringLiteral("Store Shutdown for Maint @ ")); }));
    config.serviceUrl = "http://127.0.0.1:9/terminal2secure.asp";
    ServiceClient dead(*http, codec, config.serviceUrl);
    // A second station window on a dead service: its polls fail and leave its stores alone.
    frmTerminal other(ports, config, dead);
    ASSERT_TRUE(other.Form_Load());
    other.state().stores.setCount(1);
    other.state().stores.at(0).status = "Y";
    for (int tick = 0; tick < 15; ++tick)
        other.Timer1_Timer();
    EXPECT_EQ(other.state().stores.at(0).status, "Y");
    other.Form_Unload();
}

} // namespace
} // namespace station

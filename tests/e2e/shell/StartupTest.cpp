// The station's start-up against the real reference service: in process with the real HTTP
// adapter, and as the real program under a virtual display.
#include "core/StationIdentity.h"
#include "platform/Adapters.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "shell/StoreList.h"
#include "shell/frmTerminal.h"
#include "tests/e2e/support/Peers.h"
#include "tests/e2e/support/Rig.h"

#include <QDeadlineTimer>
#include <QLabel>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QThread>
#include <QTreeWidget>
#include <gtest/gtest.h>

namespace station {
namespace {

/// The fakes for everything but the service transport and the adapters.
struct RealServicePorts {
    explicit RealServicePorts(HttpLimits timeouts = {})
        : http(makeHttpClient(timeouts)), adapters(makeNetworkAdapters()) {}
    std::unique_ptr<HttpClient> http;
    std::unique_ptr<NetworkAdapters> adapters;
    test::FakePorts fake;
    Ports ports = test::portsOver(fake, {.http = http.get(), .adapters = adapters.get()});
};

TEST(Startup, ListShowsTheStoresTheServiceHoldsForThisStation) {
    test::DevService service;
    RealServicePorts real;
    IdentityCodec codec;
    StationConfig config;
    config.serviceUrl = service.serviceUrl().toStdString();
    config.serverList = "127.0.0.1";
    ServiceClient client(*real.http, codec, config.serviceUrl);

    // What the service holds for this station, asked the same way.
    const auto fetched = client.storeList(stationIdentity(real.adapters->list()));
    ASSERT_TRUE(fetched) << fetched.error;
    const auto& expected = *fetched;
    ASSERT_GE(expected.stores.size(), 2u) << "the service seeds demo stores for any station";

    frmTerminal window(real.ports, config, client);
    ASSERT_TRUE(window.Form_Load());
    ASSERT_EQ(window.ListView1->topLevelItemCount(), static_cast<int>(expected.stores.size()));
    for (std::size_t k = 0; k < expected.stores.size(); ++k) {
        auto* row = window.rowByKey(storeRowKey(k));
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(row->text(0).toStdString(), expected.stores[k].storeName);
        EXPECT_EQ(row->text(3).toStdString(), expected.stores[k].serialNumber);
    }
    window.Form_Unload();
}

TEST(Startup, RequestsReachTheServiceInTheirWireShapeAndRepliesSplitAtEveryBar) {
    test::DevService service;
    service.admin({QStringLiteral("set-reply"), QStringLiteral("ID|SER|T1|u|p|10.0.0.1|23|DOM||A&amp;B||")});
    RealServicePorts real;
    IdentityCodec codec;
    ServiceClient client(*real.http, codec, service.serviceUrl().toStdString());

    // One record of eleven pieces and the empty one after the last bar; empty pieces stay
    // fields and entities are left as they came.
    const auto list = client.storeList("00-1A-2B-3C-4D-5E");
    ASSERT_TRUE(list) << list.error;
    ASSERT_EQ(list->stores.size(), 1u);
    EXPECT_EQ(list->stores[0].extra1, "");
    EXPECT_EQ(list->stores[0].storeName, "A&amp;B");
    EXPECT_EQ(list->stores[0].displayUser, "");
    StationSettings settings;
    settings.open();
    settings.addRow();
    settings.set("prt0", "R&D");
    settings.set("prt1", "L 1");
    settings.set("prt2", "%41+");
    client.writeDeviceSettings(settings, "00-1A-2B");

    // The service's log holds each body as it came: key, then the value with nothing but the
    // ampersands escaped. Columns: id, method, path, status, key, value, reply, content type.
    const auto logged = service.admin({QStringLiteral("requests")}).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(logged.size(), 2);
    const auto mac = logged[0].split(QLatin1Char('\t'));
    const auto write = logged[1].split(QLatin1Char('\t'));
    ASSERT_EQ(mac.size(), 8);
    ASSERT_EQ(write.size(), 8);
    EXPECT_EQ(mac[1], QStringLiteral("POST"));
    EXPECT_EQ(mac[4] + mac[5], QStringLiteral("mac=001A2B3C4D5E"));
    EXPECT_EQ(write[4] + write[5], QStringLiteral("prtupt=R&amp;D|L 1|%41+||||001A2B|"));
    for (const auto& request : {mac, write})
        EXPECT_EQ(request[7], QStringLiteral("application/x-www-form-urlencoded"));
}

TEST(Startup, ServiceThatNeverAnswersEndsInTimeWithAnEmptyList) {
    // Accepts connections and never says a word.
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost));
    RealServicePorts real({std::chrono::milliseconds(500), std::chrono::milliseconds(800), {}});
    IdentityCodec codec;
    StationConfig config;
    config.serviceUrl =
        QStringLiteral("http://127.0.0.1:%1/terminal2secure.asp").arg(silent.serverPort()).toStdString();
    ServiceClient client(*real.http, codec, config.serviceUrl);
    frmTerminal window(real.ports, config, client);
    ASSERT_TRUE(window.Form_Load());
    EXPECT_EQ(window.ListView1->topLevelItemCount(), 0);
    EXPECT_TRUE(window.ListView1->isVisible());
    window.Form_Unload();
}

/// Waits until a top-level window with exactly this title exists on the display.
bool waitForWindow(const QString& display, const QString& title, int timeoutMs = 15'000) {
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        QProcess p;
        auto env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), display);
        p.setProcessEnvironment(env);
        p.start(QStringLiteral("xwininfo"), {QStringLiteral("-root"), QStringLiteral("-tree")});
        p.waitForFinished(5000);
        if (QString::fromLocal8Bit(p.readAllStandardOutput()).contains(QLatin1Char('"') + title + QLatin1Char('"')))
            return true;
        QThread::msleep(100);
    }
    return false;
}

TEST(Startup, SecondCopyIsRefusedAndTheFirstKeepsRunning) {
    test::VirtualDisplay display;
    ASSERT_FALSE(display.display().isEmpty()) << "Xvfb did not start";
    test::DevService service;
    QTemporaryDir runtime;
    auto env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DISPLAY"), display.display());
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime.path());
    env.insert(QStringLiteral("STATION_SERVICE_URL"), service.serviceUrl());
    env.insert(QStringLiteral("STATION_SERVER_LIST"), QStringLiteral("127.0.0.1"));
    const auto program = test::binDir() + QStringLiteral("/vorneterminal");

    test::PeerProcess first;
    first.start(program, {}, env);
    ASSERT_TRUE(waitForWindow(display.display(), QStringLiteral("VORNE Terminal Version 2.1.14")));

    test::PeerProcess second;
    second.start(program, {}, env);
    // The refusal is a message box under the application's title; the second copy never gets
    // as far as its own main window.
    EXPECT_TRUE(waitForWindow(display.display(), QStringLiteral("VORNETerminal")));
    EXPECT_EQ(first.process().state(), QProcess::Running);
    second.process().kill();
    second.process().waitForFinished(3000);
    EXPECT_EQ(first.process().state(), QProcess::Running);
}

} // namespace
} // namespace station

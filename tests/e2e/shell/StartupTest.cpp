// The station's start-up against the real reference service: in process with the real HTTP
// adapter, and as the real program under a virtual display.
#include "core/ProgramVersion.h"
#include "platform/Adapters.h"
#include "service/Codec.h"
#include "service/ServiceClient.h"
#include "tests/e2e/support/Peers.h"
#include "tests/e2e/support/Rig.h"
#include "tests/e2e/support/XProbe.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace station {
namespace {

TEST(Startup, RequestsReachTheServiceInTheirWireShapeAndRepliesSplitAtEveryBar) {
    test::DevService service;
    service.admin({QStringLiteral("set-reply"), QStringLiteral("ID|SER|T1|u|p|10.0.0.1|23|DOM||A&amp;B||")});
    const auto http = makeHttpClient();
    IdentityCodec codec;
    ServiceClient client(*http, codec, service.serviceUrl().toStdString());

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
    test::XProbe probe(display.display());
    ASSERT_TRUE(test::waitUntil([&] { return probe.find("VORNE Terminal Version " + programVersion()) != 0; }));

    // The refusal is a message box under the application's title, one more than the first copy
    // shows; the second copy never gets as far as its own main window.
    const auto before = probe.findAll(applicationTitle).size();
    test::PeerProcess second;
    second.start(program, {}, env);
    EXPECT_TRUE(test::waitUntil([&] { return probe.findAll(applicationTitle).size() > before; }));
    EXPECT_EQ(probe.findAll("VORNE Terminal Version " + programVersion()).size(), 1u);
    EXPECT_EQ(first.process().state(), QProcess::Running);
    second.process().kill();
    second.process().waitForFinished(3000);
    EXPECT_EQ(first.process().state(), QProcess::Running);
}

} // namespace
} // namespace station

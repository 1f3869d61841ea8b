// The host channel and document printing against real peers on loopback: hostsim as the store
// host, the reference service for reports and printer replies, a private CUPS scheduler whose
// raw queues write to files. The station's own controller dials, ticks and prints.
#include "core/StationIdentity.h"
#include "host/DocumentPrinting.h"
#include "host/TaskLine.h"
#include "platform/Adapters.h"
#include "service/Codec.h"
#include "shell/StationController.h"
#include "tests/e2e/host/PrintRig.h"
#include "tests/e2e/support/Rig.h"
#include "tests/support/FakeStationView.h"

#include <QDir>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <filesystem>
#include <gtest/gtest.h>

namespace station {
namespace {

using test::PeerProcess;

using test::waitUntil;
using test::writeFile;

std::size_t openDescriptors() {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator{}));
}

const QByteArray rawDocument("\x1b@RECEIPT\r\n\0\xff\f\x1dV\x00"
                             "end",
                             20);

/// Short bounds: a peer that stops answering is given up after seconds, not half a minute.
HttpLimits shortLimits() {
    HttpLimits limits;
    limits.connect = std::chrono::seconds(2);
    limits.request = std::chrono::seconds(5);
    limits.stall = std::chrono::seconds(2);
    return limits;
}

/// The station with the real adapters for everything the host channel and printing touch.
struct StationPorts {
    std::unique_ptr<HttpClient> http = makeHttpClient(shortLimits());
    std::unique_ptr<HostSocket> socket = makeHostSocket();
    std::unique_ptr<Spooler> spooler = makeSpooler();
    std::unique_ptr<TextPrinter> textPrinter = makeTextPrinter();
    std::unique_ptr<Yield> yield = makeYield();
    std::unique_ptr<NetworkAdapters> adapters = makeNetworkAdapters();
    test::FakePorts fake;
    Ports ports = test::portsOver(fake, {.http = http.get(),
                                         .adapters = adapters.get(),
                                         .yield = yield.get(),
                                         .hostSocket = socket.get(),
                                         .spooler = spooler.get(),
                                         .textPrinter = textPrinter.get()});
};

StationConfig stationConfig(const test::DevService& service, const std::string& serverList) {
    StationConfig config;
    config.serviceUrl = service.serviceUrl().toStdString();
    config.reportsUrl = service.baseUrl().toStdString() + "/Reports/";
    config.serverList = serverList;
    return config;
}

class HostE2ETest : public testing::Test {
protected:
    void SetUp() override {
        rig.addQueue(QStringLiteral("reports"));
        rig.addQueue(QStringLiteral("labels"));
        rig.addQueue(QStringLiteral("receipts"));
        const auto folder = QDir(service.files()).filePath(QStringLiteral("Reports/12345/1234567890"));
        writeFile(folder + QStringLiteral("/daily.txt"), "Daily sales page one\n\fDaily totals page two\n");
        writeFile(folder + QStringLiteral("/receipt.prn"), rawDocument);
        writeFile(folder + QStringLiteral("/label.prn"), rawDocument + rawDocument);

        // The station's settings row in the service: the load takes the report printer from it,
        // the task mode its printer reply.
        stationId = stationIdentity(real.adapters->list());
        StationSettings row;
        row.open();
        row.addRow();
        const std::string values[] = {"receipts", "labels", "REPORTS", "rdr", "COM1", "pre"};
        for (std::size_t f = 0; f < std::size(values); ++f)
            row.set(StationSettings::fieldNames[f], values[f]);
        serviceClient.writeDeviceSettings(row, stationId);
        ASSERT_TRUE(controller.load());
    }

    void startHost(const QString& bind = QStringLiteral("127.0.0.2")) {
        host.start(test::binDir() + QStringLiteral("/hostsim"),
                   {QStringLiteral("--bind"), bind, QStringLiteral("--port"), QStringLiteral("47000"),
                    QStringLiteral("--log"), logPath});
        ASSERT_FALSE(host.waitForOutput(QStringLiteral("listening on (\\S+)")).isEmpty());
    }
    void say(const QString& line) { host.process().write((line + QLatin1Char('\n')).toLocal8Bit()); }
    QByteArray hostLog() const {
        QFile f(logPath);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    void dial() {
        controller.tick();
        // The line may come up while the tick still runs (it lets events run); the channel hears
        // of it from a queued call.
        ASSERT_TRUE(waitUntil([this] { return real.socket->isConnected(); }));
        QCoreApplication::processEvents();
    }

    test::PrintRig rig;
    test::DevService service;
    QTemporaryDir dir;
    QString logPath = dir.filePath(QStringLiteral("host.log"));
    PeerProcess host;
    StationPorts real;
    test::FakeDialogs& dialogs = real.fake.dialogs;
    IdentityCodec codec;
    ServiceClient serviceClient{*real.http, codec, service.serviceUrl().toStdString()};
    std::string stationId;
    test::FakeStationView view;
    StationController controller{real.ports, stationConfig(service, "127.0.0.2"), serviceClient, view, "/nonexistent/"};
    /// The task mode's printing, as the task window builds it.
    DocumentPrinting reports{{serviceClient, *real.http, *real.textPrinter, *real.spooler, dialogs},
                             service.baseUrl().toStdString() + "/Reports/"};
};

TEST_F(HostE2ETest, HostReportLandsOnTheReportQueueAsText) {
    startHost();
    dial();
    say(QStringLiteral("send /3=1234567890999|C:\\\\out\\\\daily.txt"));
    ASSERT_TRUE(waitUntil([this] { return rig.output(QStringLiteral("reports")).contains("%%EOF"); }, 30'000));
    EXPECT_TRUE(dialogs.shown.empty());
    writeFile(dir.filePath(QStringLiteral("report.pdf")), rig.output(QStringLiteral("reports")));
    QProcess text;
    text.start(QStringLiteral("pdftotext"), {dir.filePath(QStringLiteral("report.pdf")), QStringLiteral("-")});
    ASSERT_TRUE(text.waitForFinished(10'000));
    const auto out = text.readAllStandardOutput();
    EXPECT_TRUE(out.contains("Daily sales page one")) << out.toStdString();
    EXPECT_TRUE(out.contains("Daily totals page two")) << out.toStdString();
    // The form feed between them ends the first page.
    QProcess info;
    info.start(QStringLiteral("pdfinfo"), {dir.filePath(QStringLiteral("report.pdf"))});
    ASSERT_TRUE(info.waitForFinished(10'000));
    EXPECT_TRUE(QString::fromLatin1(info.readAllStandardOutput())
                    .contains(QRegularExpression(QStringLiteral("Pages:\\s+2\\n"))));
    // Nothing goes back to the host for a report.
    EXPECT_FALSE(hostLog().contains("< "));
}

struct RawCase {
    const char* line;
    const char* queue;
    QByteArray bytes;
};

class RawTaskTest : public HostE2ETest, public testing::WithParamInterface<RawCase> {};

TEST_P(RawTaskTest, DocumentBytesLandUnchanged) {
    runPrintTask(parseTaskLine(GetParam().line), reports, serviceClient, stationId, dialogs);
    EXPECT_TRUE(dialogs.shown.empty()) << dialogs.shown.front().text;
    const auto queue = QString::fromLatin1(GetParam().queue);
    ASSERT_TRUE(waitUntil([&] { return rig.output(queue).size() >= GetParam().bytes.size(); }));
    QThread::msleep(200);
    EXPECT_EQ(rig.output(queue), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Tasks, RawTaskTest,
                         testing::Values(RawCase{"6,1234567890,receipt.prn", "receipts", rawDocument},
                                         RawCase{"7,1234567890,D:\\labels\\label.prn", "labels",
                                                 rawDocument + rawDocument}),
                         [](const testing::TestParamInfo<RawCase>& c) { return std::string(c.param.queue); });

TEST_F(HostE2ETest, StationInTaskModePrintsTheLabelAndEnds) {
    QProcess station;
    auto env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("STATION_SERVICE_URL"), service.serviceUrl());
    env.insert(QStringLiteral("STATION_REPORTS_URL"), service.baseUrl() + QStringLiteral("/Reports/"));
    env.insert(QStringLiteral("CUPS_SERVER"), rig.socketPath);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    station.setProcessEnvironment(env);
    station.start(test::binDir() + QStringLiteral("/vorneterminal"), {QStringLiteral("7,1234567890,label.prn")});
    ASSERT_TRUE(station.waitForFinished(30'000));
    EXPECT_EQ(station.exitCode(), 0);
    ASSERT_TRUE(waitUntil([this] { return rig.output(QStringLiteral("labels")).size() >= 2 * rawDocument.size(); }));
    EXPECT_EQ(rig.output(QStringLiteral("labels")), rawDocument + rawDocument);
}

TEST_F(HostE2ETest, FlappingHostIsRedialledRoundTheListWithoutLeakingDescriptors) {
    controller.state().serverList = {"127.0.0.2", "127.0.0.3"};
    startHost();
    dial();
    const auto before = openDescriptors();
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, &tick, [this] { controller.tick(); });
    tick.start(10);
    say(QStringLiteral("flap 100 10000"));
    ASSERT_TRUE(waitUntil([this] { return hostLog().contains("* flapped 100"); }, 120'000))
        << hostLog().right(500).toStdString();
    // The line comes up again and answers.
    say(QStringLiteral("send /R="));
    ASSERT_TRUE(waitUntil([this] { return hostLog().contains("< /L="); }));
    tick.stop();
    EXPECT_LE(openDescriptors(), before + 2);
}

/// A host played by the test itself, for bytes that no script line can carry. No service runs:
/// the station loads with an empty list.
class BadHostTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.listen(QHostAddress(QStringLiteral("127.0.0.3")), 0));
        ASSERT_TRUE(controller.load());
        state().channelPort = server.serverPort();
        controller.tick();
        ASSERT_TRUE(waitUntil([this] { return server.hasPendingConnections() || line; }));
        line = server.nextPendingConnection();
        ASSERT_TRUE(waitUntil([this] { return real.socket->isConnected(); }));
    }
    StationState& state() { return controller.state(); }
    void hostSends(const QByteArray& bytes) {
        line->write(bytes);
        line->flush();
        ASSERT_TRUE(waitUntil([this] { return line->bytesToWrite() == 0; }));
    }
    /// The station's answer to "/R=": its identity from this machine's adapters.
    QByteArray identityAnswer() { return QByteArray("/L=") + state().stationId.c_str(); }
    QByteArray answers(int ms = 300) {
        waitUntil([] { return false; }, ms);
        return line->readAll();
    }
    static StationConfig deadService() {
        StationConfig config;
        config.serviceUrl = "http://127.0.0.1:1/terminal2secure.asp";
        config.reportsUrl = "http://127.0.0.1:1/Reports/";
        config.serverList = "127.0.0.3";
        return config;
    }

    QTcpServer server;
    QTcpSocket* line = nullptr;
    StationPorts real;
    test::FakeDialogs& dialogs = real.fake.dialogs;
    IdentityCodec codec;
    ServiceClient serviceClient{*real.http, codec, deadService().serviceUrl};
    test::FakeStationView view;
    StationController controller{real.ports, deadService(), serviceClient, view, "/nonexistent/"};
};

TEST_F(BadHostTest, MegabyteOfNoiseIsSurvivedAndTheLineStillAnswers) {
    QByteArray noise(1 << 20, '\0');
    auto* random = QRandomGenerator::global();
    for (auto& c : noise) {
        c = static_cast<char>(random->bounded(256));
        if (c == '/')
            c = '\0';
    }
    hostSends(noise);
    hostSends("/R=");
    ASSERT_TRUE(waitUntil([this] { return line->bytesAvailable() > 0; }));
    EXPECT_EQ(answers(), identityAnswer());
    // Nothing in the noise was taken for a report: no document was asked for.
    for (const auto& call : real.fake.http.calls)
        ADD_FAILURE() << call.url;
    EXPECT_TRUE(dialogs.shown.empty());
}

TEST_F(BadHostTest, CommandSplitAcrossReadsLosesItsSecondHalf) {
    hostSends("/M=first half");
    answers();
    hostSends(" second half/R=");
    EXPECT_EQ(answers(), identityAnswer());
    ASSERT_EQ(dialogs.shown.size(), 1u);
    EXPECT_EQ(dialogs.shown[0].text, "first half");
}

TEST_F(BadHostTest, HostThatSendsAndClosesAtOnceLeavesTheStationRedialling) {
    state().reconnectPending = false;
    line->write("/M=bye/R=");
    line->close();
    // The close may arrive while the commands still run; the panel then shows its former text
    // again when they end, but the redial is asked for either way.
    ASSERT_TRUE(waitUntil([this] { return state().reconnectPending && !real.socket->isConnected(); }));
    ASSERT_EQ(dialogs.shown.size(), 1u);
    EXPECT_EQ(dialogs.shown[0].text, "bye");
}

} // namespace
} // namespace station

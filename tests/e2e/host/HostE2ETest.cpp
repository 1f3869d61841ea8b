// The host channel and document printing against real peers on loopback: hostsim as the store
// host, the reference service for reports and printer replies, a private CUPS scheduler whose
// raw queues write to files.
#include "core/StationIdentity.h"
#include "host/DocumentPrinting.h"
#include "host/HostChannel.h"
#include "host/TaskLine.h"
#include "platform/Adapters.h"
#include "service/Codec.h"
#include "tests/e2e/host/PrintRig.h"
#include "tests/support/FakePorts.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
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

template <typename Done> bool waitUntil(Done done, int ms = 15'000) {
    QDeadlineTimer deadline(ms);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(5);
    }
    return true;
}

std::size_t openDescriptors() {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator{}));
}

class View : public ChannelView {
public:
    std::string text = "Closed", tag, toolTip;
    std::array<std::string, 2> pole;
    std::string panelText() const override { return text; }
    void setPanelText(const std::string& t) override { text = t; }
    std::string panelTag() const override { return tag; }
    void setPanelTag(const std::string& t) override { tag = t; }
    void setPanelToolTip(const std::string& t) override { toolTip = t; }
    void showPanel() override {}
    void showPole() override {}
    void setPoleLine(int index, const std::string& t) override { pole.at(static_cast<std::size_t>(index)) = t; }
};

const QByteArray rawDocument("\x1b@RECEIPT\r\n\0\xff\f\x1dV\x00"
                             "end",
                             20);

/// The station's host channel and printing with the real adapters, the store host and the peers.
class HostE2ETest : public testing::Test {
protected:
    void SetUp() override {
        rig.addQueue(QStringLiteral("reports"));
        rig.addQueue(QStringLiteral("labels"));
        rig.addQueue(QStringLiteral("receipts"));
        const auto folder = QDir(service.files()).filePath(QStringLiteral("Reports/12345/1234567890"));
        QDir().mkpath(folder);
        writeFile(folder + QStringLiteral("/daily.txt"), "Daily sales page one\n\fDaily totals page two\n");
        writeFile(folder + QStringLiteral("/receipt.prn"), rawDocument);
        writeFile(folder + QStringLiteral("/label.prn"), rawDocument + rawDocument);

        state.stationId = stationIdentity(adapters->list());
        state.serverList = {"127.0.0.2"};
        state.reconnectPending = true;
        state.settings.open();
        state.settings.addRow();
        state.settings.set("prt2", "REPORTS");
        // The printer reply of task mode comes from the station's settings row in the service.
        http->post(service.serviceUrl().toStdString(), "application/x-www-form-urlencoded",
                   "prtupt=receipts|labels|reports|rdr|COM1|pre|" + stripDashes(state.stationId) + "|");
        channel.attach();
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
        channel.redialStep();
        ASSERT_TRUE(waitUntil([this] { return socket->isConnected(); }));
    }
    static void writeFile(const QString& path, const QByteArray& bytes) {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    }
    DocumentPrinting printing(HttpClient& client) {
        return DocumentPrinting({serviceClient, client, *textPrinter, *spooler, dialogs},
                                service.baseUrl().toStdString() + "/Reports/");
    }

    test::PrintRig rig;
    test::DevService service;
    QTemporaryDir dir;
    QString logPath = dir.filePath(QStringLiteral("host.log"));
    PeerProcess host;
    std::unique_ptr<HttpClient> http = makeHttpClient({std::chrono::seconds(2), std::chrono::seconds(5), {}});
    std::unique_ptr<HostSocket> socket = makeHostSocket();
    std::unique_ptr<Spooler> spooler = makeSpooler();
    std::unique_ptr<TextPrinter> textPrinter = makeTextPrinter();
    std::unique_ptr<Yield> yield = makeYield();
    std::unique_ptr<NetworkAdapters> adapters = makeNetworkAdapters();
    test::FakeDialogs dialogs;
    IdentityCodec codec;
    ServiceClient serviceClient{*http, codec, service.serviceUrl().toStdString()};
    StationState state;
    View view;
    DocumentPrinting reports = printing(*http);
    HostChannel channel{state, *socket, dialogs, *yield, view, [this](const std::string& s, const std::string& r) {
                            reports.printReport(s, r, [this] { return state.settings.device("prt2"); });
                        }};
};

TEST_F(HostE2ETest, IdentityRequestIsAnsweredAndTheMessageShown) {
    startHost();
    dial();
    EXPECT_EQ(view.text, "Open 127.0.0.2");
    say(QStringLiteral("send junk/R=/M=Store closes at 9"));
    ASSERT_TRUE(waitUntil([this] { return hostLog().contains(QByteArray("< /L=") + state.stationId.c_str()); }));
    ASSERT_TRUE(waitUntil([this] { return !dialogs.shown.empty(); }));
    EXPECT_EQ(dialogs.shown[0].text, "Store closes at 9");
    EXPECT_EQ(dialogs.shown[0].title, std::optional<std::string>("Message from Server"));
    EXPECT_EQ(view.text, "Open 127.0.0.2");
}

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
    runPrintTask(parseTaskLine(GetParam().line), reports, serviceClient, state.stationId, dialogs);
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

TEST_F(HostE2ETest, LabelOnAPrinterTheSpoolerDoesNotKnowShowsTheMessage) {
    http->post(service.serviceUrl().toStdString(), "application/x-www-form-urlencoded",
               "prtupt=receipts|nosuchqueue|reports|rdr|COM1|pre|" + stripDashes(state.stationId) + "|");
    runPrintTask(parseTaskLine("7,1234567890,label.prn"), reports, serviceClient, state.stationId, dialogs);
    ASSERT_EQ(dialogs.shown.size(), 1u);
    EXPECT_EQ(dialogs.shown[0].text, "The Printer Name you typed wasn't recognized.");
}

TEST_F(HostE2ETest, QueueThatRejectsJobsGivesThePrinterFault) {
    ASSERT_EQ(test::PrintRig::run(QStringLiteral("cupsreject"), {QStringLiteral("labels")}), 0);
    runPrintTask(parseTaskLine("7,1234567890,label.prn"), reports, serviceClient, state.stationId, dialogs);
    ASSERT_EQ(dialogs.shown.size(), 1u);
    EXPECT_EQ(dialogs.shown[0].text, "Error Printing file, store = '1234567890', report = 'label.prn'\n482");
}

TEST_F(HostE2ETest, StoppedQueueTakesTheJobWithoutAWord) {
    ASSERT_EQ(test::PrintRig::run(QStringLiteral("cupsdisable"), {QStringLiteral("receipts")}), 0);
    runPrintTask(parseTaskLine("6,1234567890,receipt.prn"), reports, serviceClient, state.stationId, dialogs);
    EXPECT_TRUE(dialogs.shown.empty());
    EXPECT_TRUE(rig.output(QStringLiteral("receipts")).isEmpty());
}

TEST_F(HostE2ETest, ReportsServerDownOrSilentGivesTheNotFoundMessage) {
    QTcpServer silent; // accepts and never answers
    ASSERT_TRUE(silent.listen(QHostAddress::LocalHost, 0));
    for (const auto& base : {std::string("http://127.0.0.1:1/Reports/"),
                             "http://127.0.0.1:" + std::to_string(silent.serverPort()) + "/Reports/"}) {
        dialogs.shown.clear();
        DocumentPrinting down({serviceClient, *http, *textPrinter, *spooler, dialogs}, base);
        down.printReport("1234567890", "daily.txt", [] { return std::string("reports"); });
        ASSERT_EQ(dialogs.shown.size(), 1u) << base;
        EXPECT_EQ(dialogs.shown[0].text,
                  "Error Printing file, store = '1234567890', report = 'daily.txt' was not found");
    }
}

TEST_F(HostE2ETest, FlappingHostIsRedialledRoundTheListWithoutLeakingDescriptors) {
    state.serverList = {"127.0.0.2", "127.0.0.3"};
    startHost();
    dial();
    const auto before = openDescriptors();
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, &tick, [this] { channel.redialStep(); });
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

/// A host played by the test itself, for bytes that no script line can carry.
class BadHostTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.listen(QHostAddress(QStringLiteral("127.0.0.3")), 0));
        state.stationId = "00-11-22-33-44-55";
        state.serverList = {"127.0.0.3"};
        state.reconnectPending = true;
        channel.attach();
        state.channelPort = server.serverPort();
        channel.redialStep();
        ASSERT_TRUE(waitUntil([this] { return server.hasPendingConnections() || line; }));
        line = server.nextPendingConnection();
        ASSERT_TRUE(waitUntil([this] { return socket->isConnected(); }));
    }
    void hostSends(const QByteArray& bytes) {
        line->write(bytes);
        line->flush();
        ASSERT_TRUE(waitUntil([this] { return line->bytesToWrite() == 0; }));
    }
    QByteArray answers(int ms = 300) {
        waitUntil([] { return false; }, ms);
        return line->readAll();
    }

    QTcpServer server;
    QTcpSocket* line = nullptr;
    std::unique_ptr<HostSocket> socket = makeHostSocket();
    std::unique_ptr<Yield> yield = makeYield();
    test::FakeDialogs dialogs;
    StationState state;
    View view;
    int reports = 0;
    HostChannel channel{state,  *socket, dialogs,
                        *yield, view,    [this](const std::string&, const std::string&) { ++reports; }};
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
    EXPECT_EQ(answers(), QByteArray("/L=00-11-22-33-44-55"));
    EXPECT_EQ(reports, 0);
    EXPECT_TRUE(dialogs.shown.empty());
}

TEST_F(BadHostTest, CommandSplitAcrossReadsLosesItsSecondHalf) {
    hostSends("/M=first half");
    answers();
    hostSends(" second half/R=");
    EXPECT_EQ(answers(), QByteArray("/L=00-11-22-33-44-55"));
    ASSERT_EQ(dialogs.shown.size(), 1u);
    EXPECT_EQ(dialogs.shown[0].text, "first half");
}

TEST_F(BadHostTest, HostThatSendsAndClosesAtOnceLeavesTheStationRedialling) {
    state.reconnectPending = false;
    line->write("/M=bye/R=");
    line->close();
    // The close may arrive while the commands still run; the panel then shows its former text
    // again when they end, but the redial is asked for either way.
    ASSERT_TRUE(waitUntil([this] { return state.reconnectPending && !socket->isConnected(); }));
    ASSERT_EQ(dialogs.shown.size(), 1u);
    EXPECT_EQ(dialogs.shown[0].text, "bye");
}

TEST_F(BadHostTest, RefusedDialMarksThePanelAndAsksForTheNextAddress) {
    socket->close();
    server.close();
    state.reconnectPending = true;
    channel.redialStep();
    ASSERT_TRUE(waitUntil([this] { return state.reconnectPending; }));
    EXPECT_EQ(view.text.front(), '*');
    EXPECT_FALSE(view.toolTip.empty());
}

} // namespace
} // namespace station

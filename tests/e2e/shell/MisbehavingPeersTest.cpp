// The real program on a virtual display against peers that misbehave: a service that accepts
// and never answers or answers a byte a second, a spooler that accepts and never answers, a
// store host that never reads. The window must keep answering (X pings, which a program answers
// only while its event loop runs), the host's "/R=" must be answered within a second, and every
// wait must end within its bound.
#include "core/ProgramVersion.h"
#include "core/StationIdentity.h"
#include "platform/Adapters.h"
#include "service/ServiceClient.h"
#include "tests/e2e/support/Peers.h"
#include "tests/e2e/support/Rig.h"
#include "tests/e2e/support/XProbe.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLocalServer>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <deque>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <vector>

namespace station {
namespace {

using test::XProbe;

/// Where the test plays the store host; the station always dials port 47000.
const QString hostAddress = QStringLiteral("127.0.0.13");

using test::waitUntil;

void runFor(int ms) {
    waitUntil([] { return false; }, ms);
}

/// A service that takes connections and, turn by turn, never answers or answers a byte a second.
class BadService {
public:
    enum class Kind { Silent, Trickle };
    struct Request {
        Kind kind;
        qint64 opened;
        qint64 closed = -1; ///< when the station gave up; -1 while open
    };

    BadService(std::vector<Kind> turns, const QElapsedTimer& clock) : m_turns(std::move(turns)), m_clock(clock) {
        m_server.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            while (auto* line = m_server.nextPendingConnection()) {
                const auto index = requests.size();
                requests.push_back({m_turns[index % m_turns.size()], m_clock.elapsed()});
                QObject::connect(line, &QTcpSocket::disconnected, line, [this, index, line] {
                    requests[index].closed = m_clock.elapsed();
                    line->deleteLater();
                });
                if (requests[index].kind == Kind::Trickle)
                    m_trickling.emplace_back(line, 0);
            }
        });
        // One byte a second to every trickling line; the answer would take minutes.
        QObject::connect(&m_tick, &QTimer::timeout, &m_tick, [this] {
            static const QByteArray answer =
                "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 100\r\n\r\n";
            for (auto& [line, sent] : m_trickling)
                if (line && line->state() == QAbstractSocket::ConnectedState && sent < answer.size())
                    line->write(answer.mid(sent++, 1));
        });
        m_tick.start(1000);
    }
    QString url() const { return QStringLiteral("http://127.0.0.1:%1/terminal2secure.asp").arg(m_server.serverPort()); }

    std::vector<Request> requests;

private:
    std::vector<Kind> m_turns;
    const QElapsedTimer& m_clock;
    QTcpServer m_server;
    QTimer m_tick;
    std::vector<std::pair<QPointer<QTcpSocket>, qsizetype>> m_trickling;
};

/// A store host that asks "/R=" twice a second and times every "/L=" that comes back.
class AskingHost {
public:
    explicit AskingHost(const QElapsedTimer& clock) : m_clock(clock) {
        listening = m_server.listen(QHostAddress(hostAddress), 47000);
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            m_line = m_server.nextPendingConnection();
            if (!connectedAt)
                connectedAt = m_clock.elapsed();
            QObject::connect(m_line, &QTcpSocket::readyRead, m_line, [this] { heard(); });
        });
        QObject::connect(&m_ask, &QTimer::timeout, &m_ask, [this] {
            if (!m_line || m_line->state() != QAbstractSocket::ConnectedState)
                return;
            m_line->write("/R=");
            m_asked.push_back(m_clock.elapsed());
        });
        m_ask.start(500);
    }

    /// The longest a "/R=" waited, counting those still waiting.
    qint64 worstWait() const {
        qint64 worst = m_worst;
        if (!m_asked.empty())
            worst = std::max(worst, m_clock.elapsed() - m_asked.front());
        return worst;
    }

    bool listening = false;
    qint64 connectedAt = 0;
    int answered = 0;

private:
    void heard() {
        m_heard += m_line->readAll();
        for (qsizetype at; (at = m_heard.indexOf("/L=")) >= 0; m_heard.remove(0, at + 3)) {
            if (m_asked.empty())
                continue;
            m_worst = std::max(m_worst, m_clock.elapsed() - m_asked.front());
            m_asked.pop_front();
            ++answered;
        }
    }

    const QElapsedTimer& m_clock;
    QTcpServer m_server;
    QPointer<QTcpSocket> m_line;
    QTimer m_ask;
    QByteArray m_heard;
    std::deque<qint64> m_asked;
    qint64 m_worst = 0;
};

/// A store host that sends "/R=" as fast as the line takes it and never reads a byte.
class FloodingHost {
public:
    FloodingHost() {
        listening = m_server.listen(QHostAddress(hostAddress), 47000);
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            m_line = m_server.nextPendingConnection();
            // A few kilobytes are taken in, then nothing more: neither by the program nor by
            // the system on its behalf.
            m_line->setReadBufferSize(4096);
            m_line->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 4096);
            ++connections;
        });
        QObject::connect(&m_flood, &QTimer::timeout, &m_flood, [this] {
            if (m_line && m_line->state() == QAbstractSocket::ConnectedState && m_line->bytesToWrite() < (256 << 10))
                m_line->write(m_requests);
        });
        m_flood.start(5);
    }
    bool listening = false;
    int connections = 0;

private:
    QTcpServer m_server;
    QPointer<QTcpSocket> m_line;
    QTimer m_flood;
    const QByteArray m_requests = QByteArray("/R=").repeated(20'000);
};

/// Pings a window ten times a second and keeps how long each answer took.
class Liveness {
public:
    Liveness(XProbe& probe, XProbe::Window window, const QElapsedTimer& clock) : m_clock(clock) {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this, &probe, window] {
            for (const long serial : probe.pongs()) {
                if (const auto it = m_sentAt.find(serial); it != m_sentAt.end()) {
                    m_latency.push_back(m_clock.elapsed() - it->second);
                    m_sentAt.erase(it);
                }
            }
            if (++m_tick % 5 == 0) {
                m_sentAt[m_serial] = m_clock.elapsed();
                probe.ping(window, m_serial++);
            }
        });
        m_timer.start(20);
    }
    void stop() { m_timer.stop(); }
    int sent() const { return static_cast<int>(m_serial); }
    int answeredWithin(qint64 ms) const {
        return static_cast<int>(std::count_if(m_latency.begin(), m_latency.end(), [&](qint64 l) { return l < ms; }));
    }

private:
    const QElapsedTimer& m_clock;
    QTimer m_timer;
    std::map<long, qint64> m_sentAt;
    std::vector<qint64> m_latency;
    long m_serial = 0;
    int m_tick = 0;
};

std::size_t residentKiB(qint64 pid) {
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const auto& line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toULongLong();
    return 0;
}

class MisbehavingPeers : public testing::Test {
protected:
    void SetUp() override {
        if (display.display().isEmpty() || !probe.connected())
            GTEST_SKIP() << "Xvfb did not start";
        clock.start();
    }

    /// The program on the virtual display with the test's peers.
    void start(const QString& serviceUrl, const QStringList& args = {}) {
        auto env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), display.display());
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime.path());
        env.insert(QStringLiteral("STATION_SERVICE_URL"), serviceUrl);
        env.insert(QStringLiteral("STATION_REPORTS_URL"),
                   QString(serviceUrl).replace(QStringLiteral("terminal2secure.asp"), QStringLiteral("Reports/")));
        env.insert(QStringLiteral("STATION_SERVER_LIST"), hostAddress);
        env.insert(QStringLiteral("STATION_TICK_MS"), QStringLiteral("200"));
        env.insert(QStringLiteral("CUPS_SERVER"), cupsServer);
        env.insert(QStringLiteral("no_proxy"), QStringLiteral("*"));
        station.start(test::binDir() + QStringLiteral("/vorneterminal"), args, env);
    }

    /// Waits for a viewable window with this title; 0 when none came in time.
    XProbe::Window waitForWindow(const std::string& title, int ms) {
        XProbe::Window w = 0;
        waitUntil([&] { return (w = probe.find(title)) != 0; }, ms);
        return w;
    }

    test::VirtualDisplay display;
    XProbe probe{display.display()};
    QTemporaryDir runtime;
    QString cupsServer = runtime.filePath(QStringLiteral("no-cups.sock"));
    QElapsedTimer clock;
    test::PeerProcess station;
    const std::string mainTitle = "VORNE Terminal Version " + programVersion();
};

TEST_F(MisbehavingPeers, ServiceThatNeverAnswersOrTricklesFreezesNeitherTheWindowNorTheHostLine) {
    using Kind = BadService::Kind;
    BadService service({Kind::Silent, Kind::Trickle}, clock);
    AskingHost host(clock);
    ASSERT_TRUE(host.listening) << "port 47000 on " << hostAddress.toStdString() << " is taken";
    start(service.url());
    const auto window = waitForWindow(mainTitle, 10'000);
    ASSERT_NE(window, 0u) << "no main window";
    Liveness liveness(probe, window, clock);

    // Start-up asks the service (store list, settings); each request gives up within its bound,
    // then the host line comes up while the station's polls keep meeting the same service.
    ASSERT_TRUE(waitUntil([&] { return host.connectedAt > 0; }, 45'000)) << "start-up never ended";
    const auto pollEnded = [&] {
        return std::any_of(service.requests.begin(), service.requests.end(),
                           [&](const auto& r) { return r.closed > host.connectedAt + 10'000; });
    };
    waitUntil(pollEnded, 25'000);
    liveness.stop();

    QString timeline;
    for (const auto& r : service.requests)
        timeline += QStringLiteral(" [%1 ms .. %2 ms]").arg(r.opened).arg(r.closed);
    std::printf("requests%s; host line up at %lld ms; %d of %d pings answered within 1 s; %d \"/R=\" answered, "
                "worst wait %lld ms\n",
                qPrintable(timeline), static_cast<long long>(host.connectedAt), liveness.answeredWithin(1000),
                liveness.sent(), host.answered, static_cast<long long>(host.worstWait()));
    ASSERT_TRUE(pollEnded()) << "no poll met the service while the host line was up";
    for (const auto& r : service.requests) {
        if (r.closed < 0)
            continue; // still within its bound when the test ended
        EXPECT_LT(r.closed - r.opened, 18'000) << "a request outlived its 15 s bound";
        EXPECT_GT(r.closed - r.opened, 12'000) << "a request gave up before its bound";
    }
    EXPECT_GE(liveness.sent(), 200);
    EXPECT_GE(liveness.answeredWithin(1000), liveness.sent() * 9 / 10)
        << liveness.answeredWithin(1000) << " of " << liveness.sent() << " pings answered within a second";
    EXPECT_GE(host.answered, 20);
    EXPECT_LT(host.worstWait(), 1000) << "a \"/R=\" waited " << host.worstWait() << " ms";
}

TEST_F(MisbehavingPeers, HostThatNeverReadsLeavesTheStationsMemoryFlat) {
    test::DevService service;
    FloodingHost host;
    ASSERT_TRUE(host.listening) << "port 47000 on " << hostAddress.toStdString() << " is taken";
    start(service.serviceUrl());
    ASSERT_TRUE(waitUntil([&] { return host.connections > 0; }, 20'000)) << "the station never dialled";
    // Resident size while the answers pile up: at first, at its highest until the station gives
    // the line up, and after it has redialled. How soon the limit is reached depends on how fast
    // the machine works through the flood, so the wait for it is long and its end is the event.
    const auto pid = station.process().processId();
    std::size_t early = 0, peak = 0, after = 0;
    const auto flooding = clock.elapsed();
    while (host.connections < 2 && clock.elapsed() - flooding < 60'000) {
        runFor(250);
        const auto now = residentKiB(pid);
        peak = std::max(peak, now);
        if (clock.elapsed() - flooding < 3000)
            early = std::max(early, now);
    }
    ASSERT_GE(host.connections, 2) << "the line was never given up";
    for (const auto redialled = clock.elapsed(); clock.elapsed() - redialled < 3000;) {
        runFor(250);
        after = std::max(after, residentKiB(pid));
    }
    std::printf("resident %zu KiB early, %zu KiB at most, %zu KiB after the redial, %d lines\n", early, peak, after,
                host.connections);
    ASSERT_GT(early, 0u);
    // Answers pile up no further than the send limit before the line is dropped and redialled.
    EXPECT_LT(peak, early + 8 * 1024);
    EXPECT_LT(after, early + 8 * 1024);
    EXPECT_EQ(station.process().state(), QProcess::Running);
}

/// A print spooler that accepts connections and never says a word.
class HungSpooler : public MisbehavingPeers {
protected:
    void SetUp() override {
        MisbehavingPeers::SetUp();
        if (IsSkipped())
            return;
        cupsServer = runtime.filePath(QStringLiteral("hung-cups.sock"));
        ASSERT_TRUE(silentSpooler.listen(cupsServer));
        test::writeFile(service.files() + QStringLiteral("/Reports/12345/1234567890/receipt.prn"), "\x1b@RECEIPT\r\n");
        // Task mode reads its printer from the station's settings row in the service.
        http->post(service.serviceUrl().toStdString(), "application/x-www-form-urlencoded",
                   "prtupt=receipts|labels|reports|rdr|COM1|pre|" + stripDashes(stationId) + "|");
    }

    QLocalServer silentSpooler;
    test::DevService service;
    std::unique_ptr<HttpClient> http = makeHttpClient();
    std::string stationId = stationIdentity(makeNetworkAdapters()->list());
};

TEST_F(HungSpooler, MainWindowIsUsableAtOnce) {
    start(service.serviceUrl());
    const auto window = waitForWindow(mainTitle, 10'000);
    ASSERT_NE(window, 0u) << "no main window within 10 s";
    Liveness liveness(probe, window, clock);
    runFor(3000);
    EXPECT_GE(liveness.answeredWithin(1000), liveness.sent() * 9 / 10);
}

TEST_F(HungSpooler, ReceiptTaskEndsWithItsFailureMessageInBoundedTime) {
    start(service.serviceUrl(), {QStringLiteral("6,1234567890,receipt.prn")});
    // The spooler is given its answer time, then the job takes its failure path: a message box.
    const auto box = waitForWindow(applicationTitle, 30'000);
    ASSERT_NE(box, 0u) << "no failure message within 30 s";
    EXPECT_LT(clock.elapsed(), 25'000);
    probe.close(box);
    ASSERT_TRUE(waitUntil([&] { return station.process().state() == QProcess::NotRunning; }, 5000))
        << "the task did not end after its message";
    EXPECT_EQ(station.process().exitCode(), 0);
}

} // namespace
} // namespace station

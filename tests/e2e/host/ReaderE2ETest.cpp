// Card and check reading against micrsim on a pseudo-terminal and the reference service: the
// real program in task mode for the reads that end without a message box, and the task's logic
// over the real serial driver for the ways that end with one. A keyboard wedge is played by
// xdotool typing into the real program on a virtual display.
#include "core/StationIdentity.h"
#include "host/CardReading.h"
#include "platform/Adapters.h"
#include "service/Codec.h"
#include "tests/e2e/support/Peers.h"
#include "tests/e2e/support/Rig.h"
#include "tests/e2e/support/XProbe.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace station {
namespace {

using test::fileBytes;
using test::waitUntil;

class TaskView : public ReaderTaskView {
public:
    bool finished = false;
    void showPrompt(const std::string&, PromptColour) override {}
    void showWedgeBox() override {}
    void armTimeout(int) override {}
    void stopTimeout() override {}
    void finish() override { finished = true; }
};

class ReaderE2ETest : public testing::Test {
protected:
    void SetUp() override {
        ::setenv("STATION_SERIAL_DIR", serialDir().toLocal8Bit().constData(), 1);
        setReader("MICRImage", "COM3");
    }
    QString serialDir() const { return dir.filePath(QString()); }
    QString resultPath() const { return dir.filePath(QStringLiteral("result.txt")); }

    void setReader(const std::string& type, const std::string& port) {
        StationSettings row;
        row.open();
        row.addRow();
        const std::string values[] = {"receipts", "labels", "reports", type, port, "pre"};
        for (std::size_t f = 0; f < std::size(values); ++f)
            row.set(StationSettings::fieldNames[f], values[f]);
        client.writeDeviceSettings(row, stationId);
    }
    /// micrsim as COM3 in the serial folder, playing `script`.
    void startReader(const QString& script) {
        const auto file = dir.filePath(QStringLiteral("reader.script"));
        test::writeFile(file, script.toUtf8());
        reader.start(test::binDir() + QStringLiteral("/micrsim"),
                     {QStringLiteral("--link"), dir.filePath(QStringLiteral("COM3")), QStringLiteral("--script"), file,
                      QStringLiteral("--log"), readerLogPath()});
        ASSERT_FALSE(reader.waitForOutput(QStringLiteral("pty (\\S+)")).isEmpty());
    }
    QString readerLogPath() const { return dir.filePath(QStringLiteral("reader.log")); }
    QByteArray readerLog() const { return fileBytes(readerLogPath()); }

    /// The real program in task mode; its exit code, -1 when it did not end in time.
    int runStation(const QString& taskLine, const QString& waitMs = QStringLiteral("30000")) {
        QProcess station;
        auto env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("STATION_SERVICE_URL"), service.serviceUrl());
        env.insert(QStringLiteral("STATION_SERIAL_DIR"), serialDir());
        env.insert(QStringLiteral("STATION_READER_WAIT_MS"), waitMs);
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        station.setProcessEnvironment(env);
        station.start(test::binDir() + QStringLiteral("/vorneterminal"), {taskLine});
        if (!station.waitForFinished(20'000)) {
            station.kill();
            station.waitForFinished();
            return -1;
        }
        return station.exitCode();
    }

    /// Task 3 or 4 in this process, over the real serial driver; the messages it showed.
    std::vector<std::string> runInProcess(const std::string& task) {
        auto serial = makeMicrReader();
        TaskView view;
        ReaderTask job(parseTaskLine(task + "," + resultPath().toStdString()), {*serial, dialogs, *yield, client},
                       stationId, view, 1500);
        serial->onReadComplete([&] { job.readComplete(); });
        serial->onFault([&](const std::string& reason) { job.readerFault(reason); });
        // The time-out timer of the window, played here.
        job.start();
        QDeadlineTimer timeout(1500);
        waitUntil([&] {
            if (timeout.hasExpired() && !view.finished)
                job.timeOut();
            return view.finished;
        });
        std::vector<std::string> texts;
        for (const auto& m : dialogs.shown)
            texts.push_back(m.text);
        return texts;
    }

    QTemporaryDir dir;
    test::DevService service;
    test::PeerProcess reader;
    std::unique_ptr<HttpClient> http = makeHttpClient();
    std::unique_ptr<Yield> yield = makeYield();
    IdentityCodec codec;
    ServiceClient client{*http, codec, service.serviceUrl().toStdString()};
    std::string stationId = stationIdentity(makeNetworkAdapters()->list());
    test::FakeDialogs dialogs;
};

struct TaskCase {
    const char* name;
    const char* type;
    const char* script;
    const char* task;
    const char* waitMs;
    const char* result;
    const char* log; ///< how the reader's log starts: the set-up commands it was sent
    qsizetype image; ///< the check image's size; -1: not looked at
};

class ReaderTasks : public ReaderE2ETest, public testing::WithParamInterface<TaskCase> {};

// The real program in task mode over a pseudo-terminal: the set-up commands reach the reader and
// what it reads reaches the result file.
TEST_P(ReaderTasks, WriteWhatTheReaderRead) {
    const auto& c = GetParam();
    setReader(c.type, "COM3");
    startReader(QString::fromLatin1(c.script));
    ASSERT_EQ(runStation(QString::fromLatin1(c.task) + QLatin1Char(',') + resultPath(), QLatin1String(c.waitMs)), 0);
    EXPECT_EQ(fileBytes(resultPath()), QByteArray(c.result));
    EXPECT_TRUE(readerLog().startsWith(c.log)) << readerLog().toStdString();
    if (c.image < 0)
        return;
    const auto image = fileBytes(resultPath() + QStringLiteral(".tmp"));
    EXPECT_EQ(image.size(), c.image);
    if (c.image > 0) {
        EXPECT_TRUE(image.startsWith(QByteArray("II*\0", 4)));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Reads, ReaderTasks,
    testing::Values(
        TaskCase{"Card", "MICRImage", "armed\ncard B4111111111111111^DOE/J^2512|4111111111111111=2512|\n", "3", "30000",
                 "3\r\n00028B4111111111111111^DOE/J^2512\r\n000214111111111111111=2512\r\n00000\r\n",
                 "< SWA 00100010\n< SWB 00100010\n< SWC 00100000\n< HW 00111100\n< SWE 00000010\n< SWI 00000000\n"
                 "< FC0002\n",
                 -1},
        TaskCase{"CheckWithTenKilobyteImage", "MICRImage", "armed\ncheck T123456789T0012345O 10240\n", "4", "30000",
                 "4\r\n00019T123456789T0012345O\r\n10240\r\n", "< SWA 00100010\n", 10240},
        TaskCase{"MiniMicrWithoutCamera", " mini micr", "set sentinels off\narmed\ncheck T9T8O\n", "4", "30000",
                 "4\r\n00005T9T8O\r\n00000\r\n",
                 "< SWA 00100000\n< SWB 00100010\n< SWC 00100000\n< HW 00111100\n< FC0002\n", 0},
        TaskCase{"SilentReaderTimesOut", "MICRImage", "armed\n", "3", "400", "\r\n", "< SWA 00100010\n", -1}),
    [](const testing::TestParamInfo<TaskCase>& c) { return std::string(c.param.name); });

struct FaultCase {
    const char* name;
    const char* script; ///< empty: no reader at all
    const char* port;
    const char* message; ///< the start of the one message shown
};

class ReaderFaults : public ReaderE2ETest, public testing::WithParamInterface<FaultCase> {};

TEST_P(ReaderFaults, EndWithTheirMessageAndAnEmptyResult) {
    const auto& c = GetParam();
    setReader("MICRImage", c.port);
    if (*c.script)
        startReader(QString::fromLatin1(c.script));
    const auto messages = runInProcess("3");
    ASSERT_LE(messages.size(), 1u);
    EXPECT_EQ(messages.empty() ? "" : messages[0].substr(0, std::string_view(c.message).size()), c.message);
    EXPECT_EQ(fileBytes(resultPath()), "\r\n");
}

INSTANTIATE_TEST_SUITE_P(Ways, ReaderFaults,
                         testing::Values(FaultCase{"PortThatCannotOpen", "", "COM9",
                                                   "The card reader's port could not be opened: COM9 ("},
                                         FaultCase{"ReaderGoneWhileWaiting", "armed\nsleep 100\nexit\n", "COM3",
                                                   "The card reader's port failed: COM3"},
                                         FaultCase{"MessageCutOffHalfWay", "armed\ncut M%B4111^DO\n", "COM3", ""}),
                         [](const testing::TestParamInfo<FaultCase>& c) { return std::string(c.param.name); });

/// What happened to files of one folder, as "name event" lines: a result file that is written
/// under its own name shows "close-write" for it; one that takes its name in one step shows only
/// "moved-in".
class FolderWatch {
public:
    explicit FolderWatch(const QString& folder) : m_fd(inotify_init1(IN_NONBLOCK)) {
        inotify_add_watch(m_fd, folder.toLocal8Bit().constData(), IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_TO);
    }
    ~FolderWatch() { ::close(m_fd); }
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;
    std::vector<std::string> events(const std::string& name) const {
        std::vector<std::string> out;
        alignas(inotify_event) char buffer[8192];
        ssize_t got = 0;
        while ((got = ::read(m_fd, buffer, sizeof buffer)) > 0) {
            for (ssize_t at = 0; at < got;) {
                const auto* e = reinterpret_cast<const inotify_event*>(buffer + at);
                if (e->len && name == e->name)
                    out.emplace_back((e->mask & IN_CREATE)        ? "created"
                                     : (e->mask & IN_CLOSE_WRITE) ? "close-write"
                                                                  : "moved-in");
                at += static_cast<ssize_t>(sizeof(inotify_event) + e->len);
            }
        }
        return out;
    }

private:
    int m_fd;
};

class WedgeE2ETest : public ReaderE2ETest {
protected:
    int xdotool(const QStringList& args) {
        QProcess p;
        auto env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), display.display());
        p.setProcessEnvironment(env);
        p.start(QStringLiteral("xdotool"), args);
        return p.waitForFinished(15'000) ? p.exitCode() : -1;
    }
    test::VirtualDisplay display;
    test::XProbe screen{display.display()};
};

// The wedge types the swipe as keystrokes into the real program's window, which has the focus;
// what it typed reaches the result file, which takes its name only when it is whole.
TEST_F(WedgeE2ETest, TypedSwipeEndsInTheResultFile) {
    ASSERT_FALSE(display.display().isEmpty()) << "Xvfb did not start";
    setReader("Keyboard Wedge", "");
    FolderWatch watch(dir.path());
    QProcess station;
    auto env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("STATION_SERVICE_URL"), service.serviceUrl());
    env.insert(QStringLiteral("DISPLAY"), display.display());
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    station.setProcessEnvironment(env);
    station.start(test::binDir() + QStringLiteral("/vorneterminal"), {QStringLiteral("3,") + resultPath()});
    // The yellow prompt is up once the read waits for the wedge.
    ASSERT_TRUE(waitUntil([&] { return screen.showsColour(0xFFFF00) || station.state() == QProcess::NotRunning; }))
        << "no prompt";
    ASSERT_EQ(station.state(), QProcess::Running);
    ASSERT_EQ(xdotool({QStringLiteral("search"), QStringLiteral("--sync"), QStringLiteral("--name"),
                       QStringLiteral("^VORNE Terminal$"), QStringLiteral("windowfocus"), QStringLiteral("--sync")}),
              0);
    ASSERT_EQ(xdotool({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("10"),
                       QStringLiteral("%B4111111111111111^DOE/JOHN Q^2512101?;4111111111111111=2512101?")}),
              0);
    ASSERT_EQ(xdotool({QStringLiteral("key"), QStringLiteral("Return")}), 0);
    ASSERT_TRUE(station.waitForFinished(15'000)) << "the task did not end";
    EXPECT_EQ(station.exitCode(), 0);
    EXPECT_EQ(fileBytes(resultPath()),
              "3\r\n00036B4111111111111111^DOE/JOHN Q^2512101\r\n000244111111111111111=2512101\r\n00000\r\n");
    EXPECT_EQ(watch.events("result.txt"), std::vector<std::string>{"moved-in"});
}

} // namespace
} // namespace station

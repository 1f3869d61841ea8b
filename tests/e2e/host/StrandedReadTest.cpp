// Host data that arrives while a command is still running (a message box open, a report being
// printed, a long run of commands) is taken as soon as that command lets pending events run,
// without the host sending anything more. The real socket adapter and the real channel, with a
// host played by the test on loopback.
#include "host/HostChannel.h"
#include "platform/Adapters.h"
#include "tests/e2e/support/Rig.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>
#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace station {
namespace {

using namespace std::chrono_literals;

using test::waitUntil;

/// Runs window events for `ms`, the way a modal box or a wait does.
void spin(std::chrono::milliseconds ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

class View : public ChannelView {
public:
    std::string text = "Closed";
    std::function<void()> onCommand; ///< each command marks the panel with "*" as it starts
    std::string panelText() const override { return text; }
    void setPanelText(const std::string& t) override {
        text = t;
        if (t == "*" && onCommand)
            onCommand();
    }
    void setPanelToolTip(const std::string&) override {}
    void showPanel() override {}
    void showPole() override {}
    void setPoleLine(int, const std::string&) override {}
};

/// Message boxes that stay open for a while, running events as a modal box does.
class SlowBoxes : public Dialogs {
public:
    std::chrono::milliseconds open = 0ms;
    bool isOpen = false;
    Answer message(const std::string&, Icon, Buttons, const std::optional<std::string>&) override {
        isOpen = true;
        spin(open);
        isOpen = false;
        return Answer::Ok;
    }
    std::string input(const std::string&) override { return {}; }
    std::string openFile(const std::string&, const std::string&) override { return {}; }
    std::string saveFile(const std::string&, const std::string&) override { return {}; }
};

struct Busy {
    const char* name;
    QByteArray first; ///< what keeps the station busy
    std::chrono::milliseconds box;
    std::chrono::milliseconds print;
    int commands;           ///< how many commands `first` holds
    int commandsBeforeSend; ///< the host's "/R=" goes out once this many of them have started
};

/// The station's channel over the real socket adapter, dialled to a host played by the test.
class HostLine : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.listen(QHostAddress::LocalHost, 0));
        state.stationId = "00-11-22-33-44-55";
        state.serverList = {"127.0.0.1"};
        state.channelPort = server.serverPort();
        state.reconnectPending = true;
        channel.attach();
        channel.redialStep();
        ASSERT_TRUE(waitUntil([this] { return server.hasPendingConnections(); }, 5000));
        line = server.nextPendingConnection();
        ASSERT_TRUE(waitUntil([this] { return socket->isConnected(); }, 5000));
        QObject::connect(line, &QTcpSocket::readyRead, line, [this] {
            heard += line->readAll();
            if (heard.contains(answer) && !answeredAt)
                answeredAt = clock.elapsed();
        });
    }

    /// The host's "/R=", sent once; its time is kept.
    void sendRequest() {
        if (sentAt)
            return;
        sentAt = clock.elapsed();
        sentWhileBusy = dialogs.isOpen || printingNow || (started > 0 && started < commands);
        line->write("/R=");
    }

    QTcpServer server;
    QTcpSocket* line = nullptr;
    std::unique_ptr<HostSocket> socket = makeHostSocket();
    std::unique_ptr<Yield> yield = makeYield();
    std::unique_ptr<Waiter> waiter = makeWaiter();
    SlowBoxes dialogs;
    StationState state;
    View view;
    int commands = 0; ///< in the run the test starts
    int started = 0;  ///< commands begun (a panel marked "*"), counted for the run of many
    std::chrono::milliseconds printing = 0ms;
    bool printingNow = false;
    HostChannel channel{state, *socket, dialogs, *yield, view, [this](const std::string&, const std::string&) {
                            printingNow = true;
                            // Prints the way the station does: the work runs elsewhere while the
                            // caller waits with the window alive.
                            auto work = std::make_shared<Completion>();
                            std::thread([work, ms = printing] {
                                std::this_thread::sleep_for(ms);
                                work->finish();
                            }).detach();
                            waiter->wait(*work, 10s);
                            printingNow = false;
                        }};
    const QByteArray answer = "/L=00-11-22-33-44-55";
    QByteArray heard;
    QElapsedTimer clock;
    qint64 sentAt = 0, answeredAt = 0;
    bool sentWhileBusy = false;
};

class StrandedRead : public HostLine, public testing::WithParamInterface<Busy> {};

TEST_P(StrandedRead, RequestArrivingMeanwhileIsAnsweredWithoutMoreFromTheHost) {
    const auto& c = GetParam();
    dialogs.open = c.box;
    printing = c.print;
    commands = c.commands;
    view.onCommand = [&] {
        if (++started == c.commandsBeforeSend)
            QTimer::singleShot(c.commands > 1 ? 0 : 50, line, [this] { sendRequest(); });
    };
    clock.start();
    line->write(c.first);
    ASSERT_TRUE(waitUntil([&] { return sentAt > 0; }, 10'000)) << "the station never got busy";
    EXPECT_TRUE(waitUntil([&] { return answeredAt > 0; }, 5000)) << "the request was left unread";
    ASSERT_TRUE(sentWhileBusy) << "the request did not come while the station was busy: the case proves nothing";
    EXPECT_LT(answeredAt - sentAt, 1000) << "answered only " << answeredAt - sentAt << " ms after it came";
    EXPECT_EQ(heard, answer);
}

INSTANTIATE_TEST_SUITE_P(While, StrandedRead,
                         testing::Values(Busy{"message_box_open", "/M=Store closes at 9", 1500ms, 0ms, 1, 1},
                                         Busy{"report_printing", "/3=1234567890|C:\\out\\daily.txt", 0ms, 1500ms, 1, 1},
                                         Busy{"long_burst_of_commands", QByteArray("/P=").repeated(20'000), 0ms, 0ms,
                                              20'000, 100}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST_F(HostLine, HostThatStopsReadingHasItsLineClosedAndARedialAsked) {
    // The host takes a few bytes into its buffer and no more.
    QObject::disconnect(line, nullptr, nullptr, nullptr);
    line->setReadBufferSize(4096);
    std::string error;
    socket->setEvents({{}, {}, {}, [&](const std::string& description) {
                           error = description;
                           channel.error(description);
                       }});
    state.reconnectPending = false;
    const std::string chunk(64 * 1024, 'x');
    std::size_t sent = 0;
    // The system's own buffers take a few megabytes first; beyond them only the limit stands.
    while (error.empty() && sent < (64u << 20)) {
        channel.sendWinsock(chunk);
        sent += chunk.size();
        QCoreApplication::processEvents();
    }
    ASSERT_TRUE(waitUntil([&] { return !error.empty(); }, 2000)) << sent << " bytes went out unread";
    EXPECT_NE(error.find("stopped reading"), std::string::npos) << error;
    EXPECT_FALSE(socket->isConnected());
    EXPECT_TRUE(state.reconnectPending);
    EXPECT_EQ(view.text.front(), '*');
    EXPECT_LT(sent, 32u << 20);
}

} // namespace
} // namespace station

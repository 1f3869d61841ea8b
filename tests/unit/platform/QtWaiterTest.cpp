// Waiting on the UI thread with the window alive: timers and sockets are served while the work
// runs elsewhere, and a worker that finishes after the wait gave up touches nothing of it.
#include "platform/Adapters.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace station {
namespace {

using namespace std::chrono_literals;

struct WaitCase {
    const char* name;
    std::chrono::milliseconds work;  ///< when the worker finishes
    std::chrono::milliseconds limit; ///< how long the caller waits at most
    bool finished;
};

class QtWaiterTest : public testing::TestWithParam<WaitCase> {};

TEST_P(QtWaiterTest, TimersAndSocketsRunWhileTheCallerWaits) {
    const auto waiter = makeWaiter();
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, server.serverPort());
    ASSERT_TRUE(client.waitForConnected(2000) && server.waitForNewConnection(2000));
    QTcpSocket* line = server.nextPendingConnection();
    QByteArray read;
    QObject::connect(&client, &QTcpSocket::readyRead, &client, [&] { read += client.readAll(); });

    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        if (++ticks == 3)
            line->write("/R=");
    });
    timer.start(20);

    auto work = std::make_shared<Completion>();
    std::thread worker([work, delay = GetParam().work] {
        std::this_thread::sleep_for(delay);
        work->finish();
    });
    const auto start = std::chrono::steady_clock::now();
    const bool finished = waiter->wait(*work, GetParam().limit);
    const auto took = std::chrono::steady_clock::now() - start;
    worker.join();

    EXPECT_EQ(finished, GetParam().finished);
    EXPECT_GE(took, std::min(GetParam().work, GetParam().limit) - 5ms);
    EXPECT_LT(took, std::min(GetParam().work, GetParam().limit) + 500ms);
    EXPECT_GE(ticks, 5) << "timers stood still during the wait";
    EXPECT_EQ(read, QByteArray("/R=")) << "the socket was not served during the wait";
}

INSTANTIATE_TEST_SUITE_P(Waits, QtWaiterTest,
                         testing::Values(WaitCase{"work_ends_first", 300ms, 5s, true},
                                         WaitCase{"limit_passes_first", 2s, 300ms, false}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST(QtWaiter, WorkThatEndsAfterTheWaitGaveUpTouchesNothingOfIt) {
    const auto waiter = makeWaiter();
    auto work = std::make_shared<Completion>();
    EXPECT_FALSE(waiter->wait(*work, 50ms));
    // The loop the wait ran is gone; finishing must not reach it.
    std::thread([work] { work->finish(); }).join();
    EXPECT_TRUE(work->finished());
    EXPECT_TRUE(waiter->wait(*work, 5s));
}

} // namespace
} // namespace station
